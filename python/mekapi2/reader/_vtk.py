"""Converts the shapes of a file to data sets of VTK."""

from __future__ import annotations

from collections.abc import Iterator
from typing import Any, Optional

import numpy as np
from numpy.typing import NDArray
from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray
from vtkmodules.vtkCommonCore import vtkPoints, vtkStringArray
from vtkmodules.vtkCommonDataModel import (
    vtkCellArray,
    vtkCompositeDataSet,
    vtkDataAssembly,
    vtkMultiBlockDataSet,
    vtkPartitionedDataSetCollection,
    vtkUnstructuredGrid,
)

from ._arrays import Array
from ._elements import ElementType
from ._mesh import CellBlock, Part, Result, Selection, parts
from ._records import Material
from .file import File, Node

_VERTEX = ElementType("VERTEX1", 1, 1, 1, "vertex")


def to_vtk(
    file: File, step: Optional[str], selection: Selection
) -> vtkPartitionedDataSetCollection:
    """Return one grid for each shape; `File.to_vtk` describes the parameters."""
    collection = vtkPartitionedDataSetCollection()
    assembly = vtkDataAssembly()
    assembly.Initialize()
    known: dict[int, int] = {}
    for number, (node, grid) in enumerate(grids(file, step, selection)):
        collection.SetPartition(number, 0, grid)
        name = _printable(node.path.removeprefix("/"))
        collection.GetMetaData(number).Set(vtkCompositeDataSet.NAME(), name)
        assembly.AddDataSetIndex(_assembly_node(assembly, node, known), number)
    collection.SetDataAssembly(assembly)
    _add_step(collection, step)
    return collection


def to_blocks(file: File, step: Optional[str], selection: Selection) -> vtkMultiBlockDataSet:
    """Return a block for each group and shape; `File.to_vtk` describes the parameters."""
    whole = vtkMultiBlockDataSet()
    known: dict[int, vtkMultiBlockDataSet] = {file.root.id: whole}
    for node, grid in grids(file, step, selection):
        missing: list[Node] = []
        above = node.parent
        while above is not None and above.id not in known:
            missing.append(above)
            above = above.parent
        for group in reversed(missing):
            known[group.id] = vtkMultiBlockDataSet()
            _append_block(known, group, known[group.id])
        _append_block(known, node, grid)
    _add_step(whole, step)
    return whole


def _append_block(known: dict[int, vtkMultiBlockDataSet], node: Node, block: Any) -> None:
    above = known[node.id if node.parent is None else node.parent.id]
    number = above.GetNumberOfBlocks()
    above.SetBlock(number, block)
    above.GetMetaData(number).Set(vtkCompositeDataSet.NAME(), _printable(node.name))


def _add_step(output: Any, step: Optional[str]) -> None:
    if step is not None:
        array = vtkStringArray()
        array.SetName("Step")
        array.InsertNextValue(_printable(step))
        output.GetFieldData().AddArray(array)


def grids(
    file: File, step: Optional[str], selection: Selection
) -> Iterator[tuple[Node, vtkUnstructuredGrid]]:
    """Yield the shapes that have a mesh, and their grids."""
    time = None if step is None else file.times.get(step)
    for part in parts(file, step):
        yield part.node, _grid(part, list(part.results(step, selection)), time)


def _assembly_node(assembly: vtkDataAssembly, node: Node, known: dict[int, int]) -> int:
    """Return the node of the assembly for a node of the tree, and add it and those above it."""
    missing: list[Node] = []
    above: Optional[Node] = node
    while above is not None and above.id not in known:
        missing.append(above)
        above = above.parent
    for each in reversed(missing):
        name = assembly.MakeValidNodeName(_printable(each.name) or "unnamed")
        if each.parent is None:
            assembly.SetRootNodeName(name)
            known[each.id] = assembly.GetRootNode()
        else:
            known[each.id] = assembly.AddNode(name, known[each.parent.id])
        assembly.SetAttribute(known[each.id], "label", _printable(each.name))
    return known[node.id]


def _grid(part: Part, results: list[Result], time: Optional[float]) -> vtkUnstructuredGrid:
    """Return the grid of a part: the points that its cells use, cells, results, material."""
    blocks = part.blocks or [_vertices(len(part.points))]
    cells = [_ordered(block) for block in blocks]
    rows, connectivity = _used_rows(cells, len(part.points))
    lengths = np.concatenate([np.full(len(each), each.shape[1]) for each in cells])
    types = np.concatenate([np.full(len(b.cells), b.type.vtk, np.uint8) for b in blocks])
    elements = np.concatenate([block.elements for block in blocks])

    output = vtkUnstructuredGrid()
    points = vtkPoints()
    points.SetData(_vtk_array("Points", part.points[rows]))
    output.SetPoints(points)
    cell_array = vtkCellArray()
    offsets = np.concatenate([[0], np.cumsum(lengths)]).astype(np.int64)
    cell_array.SetData(
        numpy_to_vtkIdTypeArray(offsets, deep=True),
        numpy_to_vtkIdTypeArray(connectivity, deep=True),
    )
    output.SetCells(numpy_to_vtk(types, deep=True), cell_array)
    for result in results:
        if result.place == "point":
            output.GetPointData().AddArray(_vtk_array(result.name, result.values[rows]))
        elif result.place == "cell":
            output.GetCellData().AddArray(_vtk_array(result.name, result.values[elements]))
        else:
            output.GetFieldData().AddArray(_vtk_array(result.name, result.values))
    _add_field_data(output, part.node.material, time)
    if not output.GetPointData().HasArray("vtkOriginalPointIds"):
        output.GetPointData().AddArray(_vtk_array("vtkOriginalPointIds", rows))
    return output


def _vertices(count: int) -> CellBlock:
    rows = np.arange(count)
    return CellBlock(_VERTEX, rows[:, None], rows)


def _ordered(block: CellBlock) -> NDArray[np.int64]:
    order = block.type.vtk_order
    return block.cells if order is None else block.cells[:, order]


def _used_rows(
    cells: list[NDArray[np.int64]], point_count: int
) -> tuple[NDArray[np.int64], NDArray[np.int64]]:
    """Return the rows that cells use, ascending, and the connectivity by position in these."""
    connectivity = np.concatenate([each.ravel() for each in cells])
    is_used = np.zeros(point_count, bool)
    is_used[connectivity] = True
    rows = np.flatnonzero(is_used)
    return rows, (np.cumsum(is_used) - 1)[connectivity]


def _vtk_array(name: str, values: Array) -> Any:
    array = numpy_to_vtk(np.ascontiguousarray(values), deep=True)
    array.SetName(_printable(name))
    return array


def _add_field_data(
    output: vtkUnstructuredGrid, material: Optional[Material], time: Optional[float]
) -> None:
    fields: dict[str, Array] = {}
    if material is not None:
        for name, value in material._asdict().items():
            title = "Material Flag" if name == "flag" else name.replace("_", " ").title()
            kind = np.uint8 if name == "flag" else np.float32
            fields[title] = np.array([value], kind)
    if time is not None:
        fields["TimeValue"] = np.array([time])
    for title, values in fields.items():
        output.GetFieldData().AddArray(_vtk_array(title, values))


def _printable(name: str) -> str:
    return name.encode("utf-8", "surrogateescape").decode("utf-8", "replace")
