"""Names and node orders of element types."""

from __future__ import annotations

import re
from typing import Any, Optional

import meshio
import numpy as np
from meshio._mesh import topological_dimension
from numpy.typing import NDArray

from ._errors import ConversionError

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

# Cells that meshio's readers yield without knowing their dimension, which ends in a KeyError.
for _kind in ("quad5", "triangle7"):
    topological_dimension.setdefault(_kind, 2)
for _kind in ("hexahedron9", "pyramid13", "tetra4", "tetra8", "tetra14", "wedge15"):
    topological_dimension.setdefault(_kind, 3)

# The midside nodes of these go around the bottom, up the sides and around the top; meshio has the
# top before the sides.
_orders = {
    "HE20": [*range(12), *range(16, 20), *range(12, 16)],
    "PE15": [*range(9), *range(12, 15), *range(9, 12)],
}


def shape_name(block: meshio.CellBlock) -> str:
    """``HE8`` for a hexahedron of eight nodes, and so on for all types."""
    if block.type.startswith("polyhedron"):
        raise ConversionError(f"cells of type {block.type} have faces, which cannot be kept")
    match = re.match(r"[a-z]+", block.type)
    family = _families.get(match.group() if match else "")
    if family is None:
        family = block.type.replace("VTK_", "").upper()
    return f"{family}{block.data.shape[1]}"


def index_of_dimension(block: meshio.CellBlock) -> int:
    """The number behind ``Connectivity`` and ``Polylength``: 0 for beams, 2 for solids."""
    return max(int(block.dim), 1) - 1


def connectivity(block: meshio.CellBlock, point_count: int) -> NDArray[Any]:
    """Row numbers of the nodes, element after element, in the order of nodes that files have."""
    nodes = block.data
    if nodes.size > 0 and not (0 <= nodes.min() and nodes.max() < point_count):
        raise ConversionError(
            f"a cell of type {block.type} has the node {nodes.max()}, but the last is "
            f"{point_count - 1}"
        )
    order: Optional[list[int]] = _orders.get(shape_name(block))
    return np.ravel(nodes if order is None else nodes[:, order])
