"""Cell types that meshio reads or writes although its table of dimensions lacks them.

The table is public: it is in ``meshio.__all__``. But meshio 5 does not bind that name.
"""

from __future__ import annotations

from meshio._mesh import topological_dimension

_MISSING_DIMENSIONS = {
    "pixel": 2, "quad5": 2, "quad6": 2, "triangle7": 2, "tetra4": 3, "tetra8": 3, "tetra14": 3,
    "pyramid13": 3, "wedge12": 3, "wedge15": 3, "penta_prism": 3, "hexa_prism": 3,
    "hexahedron9": 3, "hexahedron24": 3,
}


def complete_dimensions() -> None:
    """Add what meshio lacks: without an entry it cannot create a block of the type."""
    for cell_type, dimension in _MISSING_DIMENSIONS.items():
        topological_dimension.setdefault(cell_type, dimension)
