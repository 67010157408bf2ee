"""Divides a mesh into regions, such as physical groups of Gmsh.

Readers of meshio return the region of each cell as an array of tags among the results. They return
one block for each geometric entity or each sequence of cells of a type.
"""

from __future__ import annotations

import re
from typing import Any

import meshio
import numpy as np
from numpy.typing import NDArray

_region_tags = {
    "avsucd": "avsucd:material",
    "gmsh": "gmsh:physical",
    "medit": "medit:ref",
    "nastran": "nastran:ref",
    "netgen": "netgen:index",
    "su2": "su2:tag",
    "tetgen": "tetgen:ref",
    "ugrid": "ugrid:ref",
}
_formats_with_names = ("gmsh", "netgen")  # field data has the tag and dimension of each name
_bookkeeping = re.compile(
    r"gmsh:.*|avsucd:material|(medit|nastran|ugrid):ref|netgen:index|su2:tag|tetgen:ref\d*"
    r"|obj:group_ids"
)


def divide(mesh: meshio.Mesh, file_format: str, keep_blocks: bool) -> list[str]:
    """Merge the blocks of a mesh, and remove tags from its data.

    Parameters
    ----------
    mesh : meshio.Mesh
        Has one block for each region and element type afterwards.
    file_format : str
        The format whose reader returned the mesh.
    keep_blocks : bool
        Do not change the blocks.

    Returns
    -------
    list of str
        The region of each block; empty for blocks without one.
    """
    if file_format not in _region_tags:
        _remove_bookkeeping(mesh, file_format)
        return [_enclosing_set(mesh, index) for index in range(len(mesh.cells))]
    tags = _tags(mesh, file_format)
    if not keep_blocks:
        tags = _merge_blocks(mesh, tags)
    regions = [
        _region_name(mesh, block, of_block, file_format)
        for block, of_block in zip(mesh.cells, tags)
    ]
    _remove_bookkeeping(mesh, file_format)
    for index, region in enumerate(regions):
        if len(mesh.cell_sets.get(region, [])) == len(regions):  # Gmsh's set of the same cells
            mesh.cell_sets[region][index] = np.zeros(0, int)
    return regions


def _tags(mesh: meshio.Mesh, file_format: str) -> list[NDArray[Any]]:
    """Return the tag of each cell by block; 0 for no region."""
    given = mesh.cell_data.get(_region_tags[file_format])
    if given is None:
        return [np.zeros(len(block), int) for block in mesh.cells]
    tags = [_whole_numbers(of_block) for of_block in given]
    is_one_region = len({int(tag) for of_block in tags for tag in np.unique(of_block)}) == 1
    if is_one_region and file_format != "gmsh":  # a default tag
        return [np.zeros_like(of_block) for of_block in tags]
    return tags


def _whole_numbers(tags: Any) -> NDArray[Any]:
    """Return tags as integers; None, which the Nastran reader returns, becomes 0."""
    values = np.asarray(tags)
    return np.array([tag or 0 for tag in values] if values.dtype == object else values, int)


def _merge_blocks(mesh: meshio.Mesh, tags: list[NDArray[Any]]) -> list[NDArray[Any]]:
    """Replace the blocks by one for each tag and element type; return their tags."""
    cells: dict[tuple[int, str], list[tuple[int, NDArray[Any]]]] = {}
    for index, (block, of_block) in enumerate(zip(mesh.cells, tags)):
        for tag in np.unique(of_block):
            rows = np.flatnonzero(of_block == tag)
            cells.setdefault((int(tag), block.type), []).append((index, rows))

    def merged(blocks: list[Any]) -> list[NDArray[Any]]:
        return [
            np.concatenate([blocks[index][rows] for index, rows in pieces])
            for pieces in cells.values()
        ]

    for name, blocks in mesh.cell_data.items():
        mesh.cell_data[name] = merged(blocks)
    for name, blocks in mesh.cell_sets.items():
        if not name.startswith("gmsh:") and len(blocks) == len(mesh.cells):
            members = [
                np.isin(np.arange(len(block)), np.asarray([] if rows is None else rows, int))
                for block, rows in zip(mesh.cells, blocks)
            ]
            mesh.cell_sets[name] = [np.flatnonzero(is_member) for is_member in merged(members)]
    data = merged([block.data for block in mesh.cells])
    new_tags = merged(tags)
    mesh.cells = [meshio.CellBlock(kind, rows) for (_, kind), rows in zip(cells, data)]
    return new_tags


def _region_name(
    mesh: meshio.Mesh, block: meshio.CellBlock, tags: NDArray[Any], file_format: str
) -> str:
    """Return the name of the region of all cells of a block, or an empty string."""
    if len(np.unique(tags)) != 1 or tags[0] == 0:
        return ""
    if file_format in _formats_with_names:
        for name, value in mesh.field_data.items():
            if np.size(value) == 2 and np.array_equal(value, [tags[0], block.dim]):
                return str(name)
    return f"{'Physical' if file_format == 'gmsh' else 'Region'} {tags[0]}"


def _enclosing_set(mesh: meshio.Mesh, index: int) -> str:
    """Return the name of the only cell set that contains all cells of a block, if there is one."""
    names = [
        name
        for name, blocks in mesh.cell_sets.items()
        if len(blocks) == len(mesh.cells)
        and blocks[index] is not None
        and len(np.unique(blocks[index])) == len(mesh.cells[index])
    ]
    return str(names[0]) if len(names) == 1 else ""


def _remove_bookkeeping(mesh: meshio.Mesh, file_format: str) -> None:
    if file_format in _formats_with_names:
        mesh.field_data = {}
    for data in (mesh.point_data, mesh.cell_data, mesh.cell_sets):
        for name in list(data):
            if _bookkeeping.fullmatch(name) and file_format in (*_region_tags, "obj"):
                del data[name]
