"""Model with arguments of basic types; use the package mekapi2."""

from collections.abc import Mapping, Sequence
from typing import Any, Optional, Union

from numpy.typing import NDArray

version: str

_Attributes = Mapping[str, Union[int, float, str]]

class Model:
    def __init__(self) -> None: ...
    def save_to(
        self,
        path: Union[str, bytes],
        overwrite: bool,
        tool_name: str,
        tool_version: str,
        journal: bool,
        replace_when_complete: bool,
        threads: Optional[int],
    ) -> None: ...
    def close(self) -> None: ...
    def abandon(self) -> None: ...
    def checkpoint(self, durable: bool) -> None: ...
    def node_kind(self, id: int) -> Optional[str]: ...
    def add_node(self, type: int, name: str, attributes: _Attributes) -> int: ...
    def set_current_node(self, id: int) -> None: ...
    def move_to_parent(self) -> None: ...
    def node_id_of_path(self, path: str, separator: str) -> int: ...
    def node_id_of_names(self, names: Sequence[str]) -> int: ...
    def set_node_data(
        self,
        id: int,
        properties: Mapping[int, Union[bool, float, list[float]]],
        attributes: _Attributes,
    ) -> None: ...
    def add_paths(
        self, paths: Sequence[tuple[str, _Attributes]], separator: str
    ) -> list[int]: ...
    def add_array(
        self,
        name: Optional[str],
        type: int,
        element_type: int,
        array: NDArray[Any],
        ids: Sequence[int],
        steps: Sequence[tuple[str, _Attributes]],
        attributes: _Attributes,
        exact: bool,
    ) -> Optional[tuple[int, int]]: ...
