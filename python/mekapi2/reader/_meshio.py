"""Combines the shapes of a file to one mesh of meshio."""

from __future__ import annotations

from typing import Any, Optional

import meshio
import numpy as np
from numpy.typing import NDArray

from ._arrays import Array
from ._elements import is_element_name
from ._mesh import CellBlock, Part, Result, Selection, parts
from ._meshtypes import complete_dimensions
from .file import File, Node

_NODE_IDS = "Node Ids"
_ELEMENT_IDS = "Element IDs"
_SET_PREFIX = "Set "
_DEFAULT_GROUP = "Mesh"

complete_dimensions()


def to_meshio(file: File, step: Optional[str], selection: Selection) -> meshio.Mesh:
    """Return one mesh; `File.to_meshio` describes the parameters."""
    builder = _Builder()
    for part in parts(file, step):
        builder.add(part, list(part.results(step, selection)))
    return builder.mesh()


class _Data:
    """Values by name that are set in pieces; NaN where a name has none."""

    def __init__(self) -> None:
        self._pieces: dict[tuple[str, int], list[tuple[slice, Array]]] = {}

    def add(self, name: str, where: slice, values: Array) -> None:
        width = values.shape[1] if values.ndim == 2 else 1
        self._pieces.setdefault((name, width), []).append((where, values))

    def arrays(self, size: int) -> dict[str, Array]:
        named: dict[str, Array] = {}
        for (name, width), pieces in self._pieces.items():
            is_missing = np.ones(size, bool)
            for where, _ in pieces:
                is_missing[where] = False
            types = [values.dtype for _, values in pieces]
            whole = np.zeros((size, width) if width > 1 else size, np.result_type(*types))
            if is_missing.any() and whole.dtype.kind != "f":
                whole = whole.astype(np.float64)
            for where, values in pieces:
                whole[where] = values
            if is_missing.any():
                whole[is_missing] = np.nan
            # shapes may have results of one name and different widths
            named[_printable(name if name not in named else f"{name} [{width}]")] = whole
        return named


class _Builder:
    def __init__(self) -> None:
        self._points: list[NDArray[np.float32]] = []
        self._point_count = 0
        self._first_points: dict[Any, int] = {}
        self._blocks: list[tuple[str, NDArray[np.int64]]] = []
        self._cell_count = 0
        self._point_data = _Data()
        self._cell_data = _Data()
        self._point_sets: dict[str, list[NDArray[np.int64]]] = {}
        self._cell_sets: dict[str, dict[int, NDArray[np.int64]]] = {}

    def add(self, part: Part, results: list[Result]) -> None:
        first = self._first_points.get(part.points_key)
        if first is None:
            first = self._first_points[part.points_key] = self._point_count
            self._points.append(part.points)
            self._point_count += len(part.points)
        first_element = self._cell_count
        for result in results:
            if result.place == "point":
                self._add_point_result(first, result)
        for block in part.blocks:
            self._add_block(part, block, first, first_element, results)

    def _add_point_result(self, first: int, result: Result) -> None:
        size = len(result.values)
        if result.kind == "point set":
            rows = first + np.flatnonzero(result.values)
            self._point_sets.setdefault(_set_name(result), []).append(rows)
        elif result.name != _NODE_IDS or not _counts_from(first, result.values, np.arange(size)):
            self._point_data.add(result.name, slice(first, first + size), result.values)

    def _add_block(
        self,
        part: Part,
        block: CellBlock,
        first: int,
        first_element: int,
        results: list[Result],
    ) -> None:
        cells, elements, kind = block.cells, block.elements, block.type
        if kind.meshio_order is not None:
            cells = cells[:, kind.meshio_order]
        name = kind.meshio
        if not name:  # a chain of lines
            cells = np.stack([cells[:, :-1], cells[:, 1:]], 2).reshape(-1, 2)
            elements = np.repeat(elements, kind.nodes - 1)
            name = "line"
        number, here = len(self._blocks), slice(self._cell_count, self._cell_count + len(cells))
        self._blocks.append((name, cells + first))
        self._cell_count += len(cells)
        names = _names_below_root(part.node)
        if names:
            self._cell_sets.setdefault(names, {})[number] = np.arange(len(cells))
        for result in results:
            if result.place != "cell":
                continue
            values = result.values[elements]
            if result.kind == "cell set":
                members = np.flatnonzero(values)
                self._cell_sets.setdefault(_set_name(result), {})[number] = members
            elif result.name != _ELEMENT_IDS or not _counts_from(first_element, values, elements):
                self._cell_data.add(result.name, here, values)

    def mesh(self) -> meshio.Mesh:
        points = np.concatenate(self._points) if self._points else np.zeros((0, 3), np.float32)
        ends = np.cumsum([len(cells) for _, cells in self._blocks])[:-1]
        cell_data = {
            name: np.split(values, ends)
            for name, values in self._cell_data.arrays(self._cell_count).items()
            if self._blocks
        }
        nothing = np.zeros(0, np.int64)
        return meshio.Mesh(
            points,
            self._blocks,
            point_data=self._point_data.arrays(self._point_count),
            cell_data=cell_data,
            point_sets={
                name: np.unique(np.concatenate(rows)) for name, rows in self._point_sets.items()
            },
            cell_sets={
                _printable(name): [blocks.get(i, nothing) for i in range(len(self._blocks))]
                for name, blocks in self._cell_sets.items()
            },
        )


def _counts_from(first: int, values: Array, numbers: NDArray[np.int64]) -> bool:
    """Return whether ids are those that converters assign by default."""
    return values.dtype.kind == "u" and np.array_equal(values, numbers + first + 1)


def _set_name(result: Result) -> str:
    return result.name.removeprefix(_SET_PREFIX)


def _names_below_root(node: Node) -> str:
    """Return the path of a shape below the root, without names that converters add."""
    names = node.path[len(node._file.root.path) + 1 :].split("/")
    if is_element_name(node.name):
        names.pop()
    return "" if names == [_DEFAULT_GROUP] else "/".join(names)


def _printable(name: str) -> str:
    """Return the name with valid characters, which file formats need."""
    return name.encode("utf-8", "surrogateescape").decode("utf-8", "replace")
