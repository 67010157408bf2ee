"""Where the cell blocks of a mesh stand in the tree."""

from __future__ import annotations

import meshio
import numpy as np

from ._elements import shape_name
from ._naming import Names, plain_name, separator
from ._source import Part

_mesh_group = "Mesh"
_node_shape = "Nodes"


def paths_of(part: Part, root: str) -> list[str]:
    """One path for each cell block, or one for the nodes of a mesh without cells."""
    top = [root, part.name] if part.name else [root]
    taken: dict[str, Names] = {}
    paths: list[str] = []
    for block, region in zip(part.mesh.cells, _regions(part.mesh)):
        groups = [*top, region] if region else top if part.name else [*top, _mesh_group]
        below = _path(groups)
        name = taken.setdefault(below, Names()).of(len(paths), shape_name(block))
        paths.append(below + separator + name)
    return paths or [_path([*top, _node_shape])]


def _path(names: list[str]) -> str:
    return "".join(separator + plain_name(name) for name in names)


def _regions(mesh: meshio.Mesh) -> list[str]:
    """The name of the group, if any, that each cell block belongs to as a whole."""
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
    """The one cell set that holds a block and nothing else; several would leave it open."""
    names = [
        name
        for name, blocks in mesh.cell_sets.items()
        if not name.startswith("gmsh:")
        and len(blocks) == len(mesh.cells)
        and blocks[index] is not None
        and len(np.unique(blocks[index])) == len(mesh.cells[index])
    ]
    return str(names[0]) if len(names) == 1 else ""
