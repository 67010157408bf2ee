"""Meshes and results of shapes by the convention of the converters."""

from __future__ import annotations

from collections.abc import Collection, Iterator
from dataclasses import dataclass
from typing import Any, Optional

import numpy as np
from numpy.typing import NDArray

from ._arrays import Array, Key
from ._elements import ElementType, element_type, nodes_by_name
from .errors import FormatError
from .file import File, Node, Variable

_COORDINATES = 1
_CONNECTIVITY = (4, 5, 6)
_POLYLENGTH = 9
_POINT_RESULTS = range(12, 16)
_CELL_RESULTS = range(16, 20)
_PART_ELEMENTS = "Part Elements"
_DISPLACEMENTS = ("Displacement", "DISP")


@dataclass(frozen=True)
class Selection:
    """Names of the quantities to include by family: "point", "cell" or "field". None means all."""

    point: Optional[Collection[str]] = None
    cell: Optional[Collection[str]] = None
    field: Optional[Collection[str]] = None

    def has(self, variable: Variable) -> bool:
        names: Optional[Collection[str]] = getattr(self, family(variable.type))
        return names is None or variable.name in names


def family(kind: int) -> str:
    """Return where variables of a type have their values, if the number of rows is valid."""
    if kind in _POINT_RESULTS:
        return "point"
    return "cell" if kind in _CELL_RESULTS else "field"


@dataclass
class CellBlock:
    """Cells of one type.

    Attributes
    ----------
    type : ElementType
    cells : array, shape (m, nodes)
        Rows of the coordinates, in the node order of the file.
    elements : array, shape (m,)
        Numbers of these elements in the shape.
    """

    type: ElementType
    cells: NDArray[np.int64]
    elements: NDArray[np.int64]


@dataclass
class Result:
    """An array of a part.

    Attributes
    ----------
    name : str
    place : str
        "point", "cell", or "field" for arrays that fit neither points nor cells.
    values : array, shape (n,) or (n, width)
    kind : str
        The attribute "Kind", by which converters mark sets.
    """

    name: str
    place: str
    values: Array
    kind: str


@dataclass
class Part:
    """The mesh of a shape at one step.

    Attributes
    ----------
    node : Node
        The shape.
    points : array, shape (n, 3)
        With the placement applied.
    blocks : list of CellBlock
        Empty for a set of points.
    points_key : tuple
        Equal for parts that share their points.
    """

    node: Node
    points: NDArray[np.float32]
    blocks: list[CellBlock]
    points_key: tuple[Key, bytes]
    used: set[Key]
    placement: NDArray[np.float64]

    @property
    def element_count(self) -> int:
        return sum(len(block.cells) for block in self.blocks)

    def results(self, step: Optional[str], selection: Selection) -> Iterator[Result]:
        """Yield the arrays of a step and those without a step, except those of the mesh."""
        for variable in self.node.variables.values():
            of_step = step if step is not None and variable.has_array(step) else None
            if not variable.has_array(of_step) or not selection.has(variable):
                continue
            if variable._file._datasets.owner(variable._key(of_step)) not in self.used:
                yield self._result(variable, of_step)

    def _result(self, variable: Variable, step: Optional[str]) -> Result:
        values = variable.array(step)
        place = family(variable._record(step).type)
        if len(values) != {"point": len(self.points), "cell": self.element_count}.get(place):
            place = "field"
        is_vector = values.dtype == np.float32 and values.shape[1:] == (3,)
        if place == "point" and is_vector and variable.name in _DISPLACEMENTS:
            values = _placed(values, self.placement, 0)
        return Result(variable.name, place, values, str(variable.attributes(step).get("Kind", "")))


def parts(file: File, step: Optional[str]) -> Iterator[Part]:
    """Yield the parts of all shapes that have coordinates.

    Raises
    ------
    KeyError
        There is no such step.
    FormatError
        A mesh does not follow the convention.
    """
    if step is not None and step not in file.steps:
        raise KeyError(step)
    points: dict[tuple[Key, bytes], NDArray[np.float32]] = {}
    for node in file.shapes:
        coordinates = _find(node, step, (_COORDINATES,))
        if coordinates is None:
            continue
        mesh = {coordinates: None}
        placement = node.world_placement
        key = (_owner(coordinates), placement.tobytes())
        if key not in points:
            points[key] = _placed(_coordinates(node, coordinates), placement, 1)
        connectivity = _find(node, step, _CONNECTIVITY)
        polylength = _find(node, step, (_POLYLENGTH,))
        mesh.update(dict.fromkeys(one for one in (connectivity, polylength) if one is not None))
        blocks: list[CellBlock] = []
        if connectivity is not None:
            blocks = list(_blocks(node, connectivity, polylength, len(points[key])))
        used = {_owner(one) for one in mesh}
        yield Part(node, points[key], blocks, key, used, placement)


_Found = tuple[Variable, Optional[str]]


def _owner(found: _Found) -> Key:
    variable, step = found
    return variable._file._datasets.owner(variable._key(step))


def _find(node: Node, step: Optional[str], types: Collection[int]) -> Optional[_Found]:
    """Return the first variable of these types for a step, or else one without a step."""
    without_step = None
    for variable in node.variables.values():
        for of_step in variable._keys:
            is_wanted = variable._record(of_step).type in types and variable.has_array(of_step)
            if not is_wanted or of_step not in (None, step) or variable.name == _PART_ELEMENTS:
                continue
            if of_step == step:
                return variable, of_step
            without_step = without_step or (variable, of_step)
    return without_step


def _error(node: Node, reason: str) -> FormatError:
    return FormatError(f"shape {node.path!r}: {reason}")


def _coordinates(node: Node, found: _Found) -> Array:
    variable, step = found
    values = variable.array(step)
    if values.dtype != np.float32 or values.shape[1:] != (3,):
        raise _error(node, "its coordinates do not have three floats per row")
    return values


def _placed(values: Array, placement: NDArray[np.float64], w: int) -> Array:
    """Return points (``w`` is 1) or vectors (0) of shape (n, 3) after a placement."""
    if np.array_equal(placement, np.eye(4)):
        return values
    with np.errstate(all="ignore"):  # any bits can be stored
        placed: Array = values @ placement[:3, :3].T + w * placement[:3, 3]
        return placed.astype(np.float32)


def _words(node: Node, found: _Found) -> NDArray[np.int64]:
    variable, step = found
    values = variable.array(step)
    if values.dtype != np.uint32 or values.ndim != 1:
        raise _error(node, f"{variable.name!r} does not have one unsigned number per row")
    return values.astype(np.int64)


def _blocks(
    node: Node, connectivity: _Found, polylength: Optional[_Found], points: int
) -> Iterator[CellBlock]:
    variable, step = connectivity
    dimension = variable._record(step).type - _CONNECTIVITY[0] + 1
    rows = _words(node, connectivity)
    if rows.size > 0 and rows.max() >= points:
        raise _error(node, f"an element uses row {rows.max()} of {points} coordinates")
    lengths = _lengths(node, polylength, dimension, len(rows))
    if lengths.sum() != len(rows):
        reason = f"polylengths of {lengths.sum()} nodes for a connectivity of {len(rows)}"
        raise _error(node, reason)
    starts = np.cumsum(lengths) - lengths
    for nodes in dict.fromkeys(lengths.tolist()):
        kind = element_type(node.name, dimension, nodes)
        if kind is None:
            raise _error(node, f"an element of dimension {dimension} has {nodes} nodes")
        elements = np.flatnonzero(lengths == nodes)
        yield CellBlock(kind, rows[starts[elements, None] + np.arange(nodes)], elements)


def _lengths(
    node: Node, polylength: Optional[_Found], dimension: int, rows: int
) -> NDArray[Any]:
    if polylength is not None:
        return _words(node, polylength)
    each = nodes_by_name(node.name, dimension)
    if each is None:
        raise _error(node, "it has no polylength, and its name is no element type")
    return np.full(rows // each, each)
