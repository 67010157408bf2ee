"""Names of results, and names and paths of shapes in the tree."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

from ._elements import shape_name
from ._source import Part

separator = "\x1e"
"""Separates the names of a path. It cannot be part of a name."""

_mesh_group = "Mesh"
_node_shape = "Nodes"


def plain_name(name: str) -> str:
    """Return ``name`` as valid UTF-8 without `separator`, or ``unnamed`` if it is empty."""
    return name.encode(errors="replace").decode().replace(separator, " ") or "unnamed"


class Names:
    """Assigns unique names.

    Parameters
    ----------
    reserved : sequence of str
        Names that are not assigned.
    """

    def __init__(self, reserved: Sequence[str] = ()) -> None:
        self._taken = set(reserved)
        self._given: dict[Any, str] = {}

    def of(self, key: Any, wanted: str) -> str:
        """Return the name of ``key``: ``wanted``, with `` (2)`` and so on if that is taken.

        Later calls with the same key return the same name.
        """
        known = self._given.get(key)
        if known is not None:
            return known
        base = plain_name(wanted)
        name, number = base, 1
        while name in self._taken:
            number += 1
            name = f"{base} ({number})"
        self._taken.add(name)
        self._given[key] = name
        return name


def shape_paths(part: Part, root: str) -> list[str]:
    """Return the path of each cell block, or one path for the nodes of a mesh without cells."""
    top = [root, part.name] if part.name else [root]
    taken: dict[str, Names] = {}
    paths: list[str] = []
    for block, region in zip(part.mesh.cells, part.regions):
        groups = [*top, region] if region else top if part.name else [*top, _mesh_group]
        parent = _path(groups)
        name = taken.setdefault(parent, Names()).of(len(paths), shape_name(block))
        paths.append(parent + separator + name)
    return paths or [_path([*top, _node_shape])]


def _path(names: list[str]) -> str:
    return "".join(separator + plain_name(name) for name in names)
