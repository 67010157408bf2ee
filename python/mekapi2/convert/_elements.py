"""Element types: their names, dimensions and node orders."""

from __future__ import annotations

import re
from typing import Any, Optional

import meshio
import numpy as np
from numpy.typing import NDArray

from ._source import ConversionError

_families = {
    "line": "BE",
    "triangle": "TR",
    "quad": "QU",
    "tetra": "TE",
    "pyramid": "PY",
    "wedge": "PE",
    "hexahedron": "HE",
    "polygon": "PG",
}

# Positions in meshio's node order. meshio lists the midside nodes of the bottom, the top and the
# sides; the file lists those of the bottom, the sides and the top.
_orders = {
    "HE20": [*range(12), *range(16, 20), *range(12, 16)],
    "PE15": [*range(9), *range(12, 15), *range(9, 12)],
}


def shape_name(block: meshio.CellBlock) -> str:
    """Return the name of the shape of a cell block: the element type and its number of nodes.

    Raises
    ------
    ConversionError
        The cells are polyhedra.

    Examples
    --------
    ``HE8`` for ``hexahedron``, ``TE10`` for ``tetra10``, ``VERTEX1`` for ``vertex``.
    """
    if block.type.startswith("polyhedron"):
        raise ConversionError(f"cells of type {block.type} are not supported: faces are not stored")
    match = re.match(r"[a-z]+", block.type)
    family = _families.get(match.group() if match else "")
    if family is None:
        family = block.type.replace("VTK_", "").upper()
    return f"{family}{block.data.shape[1]}"


def dataset_index(block: meshio.CellBlock) -> int:
    """Return N of ``ConnectivityN``: 0 for points and lines, 1 for surfaces, 2 for solids."""
    return max(int(block.dim), 1) - 1


def connectivity(block: meshio.CellBlock, point_count: int) -> NDArray[Any]:
    """Return the node rows of all cells in the node order of the file.

    Parameters
    ----------
    block : meshio.CellBlock
        ``data`` has the shape (cells, nodes per cell).
    point_count : int

    Returns
    -------
    array, shape (cells * nodes per cell,)

    Raises
    ------
    ConversionError
        A row is negative, or ``point_count`` or more.
    """
    nodes = block.data
    outside = nodes[(nodes < 0) | (nodes >= point_count)]
    if outside.size > 0:
        raise ConversionError(
            f"a cell of type {block.type} refers to node {outside[0]}, "
            f"but the nodes are 0 to {point_count - 1}"
        )
    order: Optional[list[int]] = _orders.get(shape_name(block))
    return np.ravel(nodes if order is None else nodes[:, order])
