"""Names of results, and names and paths of shapes in the tree."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

import meshio
import numpy as np

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
    for block, region in zip(part.mesh.cells, _regions(part.mesh)):
        groups = [*top, region] if region else top if part.name else [*top, _mesh_group]
        parent = _path(groups)
        name = taken.setdefault(parent, Names()).of(len(paths), shape_name(block))
        paths.append(parent + separator + name)
    return paths or [_path([*top, _node_shape])]


def _path(names: list[str]) -> str:
    return "".join(separator + plain_name(name) for name in names)


def _regions(mesh: meshio.Mesh) -> list[str]:
    """Return for each cell block the name of the group of all its cells, or an empty string."""
    return [
        _physical_group(mesh, index) or _enclosing_set(mesh, index)
        for index in range(len(mesh.cells))
    ]


def _physical_group(mesh: meshio.Mesh, index: int) -> str:
    if "gmsh:physical" not in mesh.cell_data:
        return ""
    tags = np.unique(mesh.cell_data["gmsh:physical"][index])
    if len(tags) != 1 or tags[0] == 0:
        return ""
    for name, value in mesh.field_data.items():
        if np.size(value) == 2 and np.array_equal(value, [tags[0], mesh.cells[index].dim]):
            return str(name)
    return f"Physical {tags[0]}"


def _enclosing_set(mesh: meshio.Mesh, index: int) -> str:
    """Return the name of the only cell set that contains all cells of a block, if there is one."""
    names = [
        name
        for name, blocks in mesh.cell_sets.items()
        if not name.startswith("gmsh:")
        and len(blocks) == len(mesh.cells)
        and blocks[index] is not None
        and len(np.unique(blocks[index])) == len(mesh.cells[index])
    ]
    return str(names[0]) if len(names) == 1 else ""
