"""`Model`, the one class through which a file is written, and `Step`."""

from __future__ import annotations

import os
import warnings
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass, field
from types import TracebackType
from typing import Any, Optional, Type, Union, overload

from numpy.typing import ArrayLike

from . import _core, _plain
from ._plain import AttributeValue, PropertyValue
from .enumerations import DatasetType, NodeType, PropertyType
from .errors import InexactConversion

__all__ = ["Model", "Step"]

Attributes = Mapping[str, AttributeValue]


@dataclass(frozen=True)
class Step:
    """A moment, load case or mode that an array holds for."""

    name: str
    attributes: Attributes = field(default_factory=dict)


class Model:
    """One file that is being written: a tree of groups and shapes, and their arrays.

    Use it in a ``with`` block. Arrays go to the file at once, the tree and all light data when the
    block is left; only then can the file be read.

    Nodes have ids: 1 is the root, 0 stands for none, the others count up from 2. The tree has a
    current node, below which `add_node` adds.

    Attributes are dicts of texts (of at most 256 bytes in UTF-8), whole numbers from 0 to 2^32-1,
    booleans (stored as 1 and 0) and floats, which are rounded to 32 bits. A value that does not fit
    raises `TypeError` or `ValueError`; what the library refuses raises an `Error`. After a failure
    the model can still be used and closed; nothing that was done before it is undone.

    Any number of threads may use a model: one at a time is let in. The interpreter lock is released
    while arrays are compressed and while a file is closed; an array must not be changed meanwhile.
    """

    path: Union[str, bytes]
    """The file."""

    closed: bool
    """Whether `close` has run, however it ended."""

    def __init__(self, core: _core.Model, path: Union[str, bytes]) -> None:
        self._core = core
        self.path = path
        self.closed = False

    @classmethod
    def create(
        cls,
        path: Union[str, bytes, os.PathLike[str], os.PathLike[bytes]],
        *,
        overwrite: bool = False,
        tool_name: str = "",
        tool_version: str = "",
    ) -> Model:
        """Creates the file ``path``.

        The file tells the name and version of the writing program if ``tool_name`` is given.

        Raises `FileOpenException` (a `FileExistsError`) if the file exists and may not be
        replaced, and `MiscelleneousException` (an `OSError`) if it cannot be opened.
        """
        core = _core.Model()
        path = os.fspath(path)
        try:
            core.save_to(_plain.path(path), overwrite, tool_name, tool_version)
        except OSError as error:
            error.filename = path
            raise
        return cls(core, path)

    def close(self) -> None:
        """Writes the tree, all light data and the index, and closes the file.

        Raises `FileWriteException` if the system refuses bytes. The file is then incomplete and
        cannot be read. In any case the model is closed afterwards; closing it again does nothing.
        """
        try:
            self._core.close()
        except BaseException:
            self._core.close()  # drops what is left, without another try
            raise
        finally:
            self.closed = True

    def __enter__(self) -> Model:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        """Closes the model.

        After an exception the file is finished as well, with what had been added until then, and
        the exception goes on. If closing fails too, that is told in a note of the exception.
        """
        try:
            self.close()
        except Exception as failure:
            if error is None:
                raise
            if hasattr(error, "add_note"):
                error.add_note(f"Closing {os.fsdecode(self.path)!r} failed as well: {failure}")

    def __del__(self) -> None:
        if not getattr(self, "closed", True):
            warnings.warn(f"unclosed {self!r}", ResourceWarning, source=self)
            self.close()

    def __repr__(self) -> str:
        return f"<mekapi2.Model {self.path!r}, {'closed' if self.closed else 'open'}>"

    def add_node(
        self,
        type: Union[NodeType, str, int],
        name: str,
        attributes: Optional[Attributes] = None,
    ) -> int:
        """Adds a node below the current node, or as the root if there is none yet.

        Returns the id of the new node, which is the current node afterwards. Of a shape it is the
        id of its geometry, which `add_array` takes; the shape's own id is one lower, and the
        attributes of a shape are not looked at.

        Raises `InvalidArguments` for a second root, `InvalidObjectState` on a closed model.
        """
        kind = _plain.member(NodeType, type)
        return self._core.add_node(kind, name, _plain.attributes(attributes))

    def set_current_node(self, id: int) -> None:
        """Makes ``id`` the current node. Raises `OutOfBounds` if there is none of this id."""
        self._core.set_current_node(_plain.node_id(id))

    def move_to_parent(self) -> None:
        """Makes the parent the current node; on the root it does nothing."""
        self._core.move_to_parent()

    def get_node_id(self, path: Union[str, Iterable[str]], separator: str = "/") -> int:
        """Finds a node by its path from the root, or 0 if there is none.

        ``path`` is a text like ``"/root/group/shape"`` or a list of names, the root's first. A
        shape's geometry has the path of the shape with the shape's name once more. Afterwards the
        current node is the root, unless the path is empty.
        """
        if isinstance(path, str):
            return self._core.node_id_of_path(path, separator)
        return self._core.node_id_of_names(list(path))

    def set_node_data(
        self,
        id: int,
        properties: Optional[Mapping[Union[PropertyType, str, int], PropertyValue]] = None,
        attributes: Optional[Attributes] = None,
    ) -> None:
        """Sets the placement or the attributes of a group, or the look of a shape.

        The id of a geometry stands for its shape. ``properties`` are given by `PropertyType` or
        its name: ``{"Translation": (1, 0, 0)}``, ``{"DiffuseColor": (0.8, 0, 0)}``. Attributes are
        added to a group's own or replace those of the same key.

        Raises `OutOfBounds` if there is no such node, `InvalidArguments` for a property that does
        not belong to the node or has another number of values.
        """
        self._core.set_node_data(
            _plain.node_id(id), _plain.properties(properties), _plain.attributes(attributes)
        )

    @overload  # a mapping is an iterable as well, and the first form that fits counts
    def add_assembly_components(  # type: ignore[misc]
        self, paths: Mapping[str, Optional[Attributes]], separator: str = "/"
    ) -> dict[str, int]: ...

    @overload
    def add_assembly_components(
        self, paths: Iterable[str], separator: str = "/"
    ) -> list[int]: ...

    def add_assembly_components(
        self,
        paths: Union[Mapping[str, Optional[Attributes]], Iterable[str]],
        separator: str = "/",
    ) -> Union[dict[str, int], list[int]]:
        """Adds all groups and shapes that paths name, and reuses those that exist.

        A path starts with the separator and the root's name. One that ends in the separator leads
        to a group, any other to a shape; all names before the last are groups. Every character of
        ``separator`` cuts.

        A list of paths gives a list of ids in the same order. A dict of paths with attributes for
        the groups at their ends is worked through in sorted order and gives a dict of ids.

        Raises `InvalidArguments` for a path that does not start with the separator, and
        `NotYetImplemented` for one with another root.
        """
        if isinstance(paths, str):
            raise TypeError("paths must be a list or a dict of texts, not one text")
        if isinstance(paths, Mapping):
            plain = {path: _plain.attributes(given) for path, given in paths.items()}
            ids = self._core.add_paths_with_attributes(plain, separator)
            return {path: ids[path] for path in paths}
        return self._core.add_paths(list(paths), separator)

    def add_array(
        self,
        type: Union[DatasetType, str, int],
        array: ArrayLike,
        ids: Union[int, Iterable[int]],
        *,
        name: Optional[str] = None,
        steps: Union[None, str, Step, Iterable[Union[str, Step]]] = None,
        attributes: Optional[Attributes] = None,
        lossy: bool = False,
    ) -> None:
        """Streams an array into the file and makes it a named variable of geometries, for steps.

        ``array`` has the shape (n,) or (n, `DatasetType.width`), in any order of memory and with
        any strides. The file holds 32-bit floats and unsigned 32-bit numbers. Floating-point
        arrays become the former, whole numbers and booleans the latter, as long as every value is
        kept exactly (NaN and infinities are); failing that, the other of the two is tried. If that
        fails too, `InexactConversion` (a `ValueError`) is raised and nothing is written, unless
        ``lossy`` is true: then the values are rounded to the nearest 32-bit float.

        The array is written once, whatever its number of ``ids`` (of geometries, from `add_node`
        or `add_assembly_components`) and ``steps`` (names or `Step` objects; none for data such as
        a mesh). The first pair of both owns it and carries ``attributes``, all others are links.
        Without ``name`` the variable has that of its type, if there is one.

        With no rows or no ids nothing happens. Afterwards the current node is the last id.

        Raises `TypeError` and `ValueError` for arrays of another kind or shape, `InvalidArguments`
        for a type without a name of its own, `KeyNotFound` for an unknown id,
        `OverflowError` above the limits of the file, `FileWriteException` if the system refuses
        bytes (closing will fail as well), and `InvalidObjectState` on a closed model.
        """
        kind = _plain.member(DatasetType, type)
        values = _plain.array(kind, array)
        inexact = self._core.add_array(
            name,
            kind,
            values,
            _plain.node_ids(ids),
            [(step.name, _plain.attributes(step.attributes)) for step in _steps(steps)],
            _plain.attributes(attributes),
            lossy,
        )
        if inexact is not None:
            index = inexact[: values.ndim]
            raise InexactConversion(
                f"{values[index]!r} at {list(index)} of an array of {values.dtype} has no exact "
                "32-bit value; pass lossy=True to round",
                index,
            )


def _steps(steps: Union[None, str, Step, Iterable[Union[str, Step]]]) -> Sequence[Step]:
    if steps is None:
        return [Step("")]
    if isinstance(steps, (str, Step)):
        steps = [steps]
    return [step if isinstance(step, Step) else Step(step) for step in steps]
