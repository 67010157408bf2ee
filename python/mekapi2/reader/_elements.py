"""Element types of shapes, with their names and node orders in VTK and meshio.

The file lists the nodes on the edges of solids as bottom, sides, top. VTK and meshio list them as
bottom, top, sides, and VTK orders the triangles of wedges the other way round. For all other types
the orders are the same.
"""

from __future__ import annotations

import re
from typing import NamedTuple, Optional


class ElementType(NamedTuple):
    """An element type. An order lists positions in the node order of the file; None keeps it."""

    name: str
    dimension: int
    nodes: int
    vtk: int
    meshio: str
    is_by_name: bool = False
    """The number of nodes alone selects another type."""
    vtk_order: Optional[list[int]] = None
    meshio_order: Optional[list[int]] = None


_HE20 = [*range(12), *range(16, 20), *range(12, 16)]
_PE15 = [*range(9), *range(12, 15), *range(9, 12)]
_PE15_OF_VTK = [0, 2, 1, 3, 5, 4, 8, 7, 6, 14, 13, 12, 9, 11, 10]

_TYPES = [
    ElementType("VERTEX1", 1, 1, 1, "vertex"),
    ElementType("BE2", 1, 2, 3, "line"),
    ElementType("BE3", 1, 3, 21, "line3"),
    ElementType("BE4", 1, 4, 35, "line4", True),
    ElementType("TR3", 2, 3, 5, "triangle"),
    ElementType("TR6", 2, 6, 22, "triangle6"),
    ElementType("TR7", 2, 7, 34, "triangle7"),
    ElementType("PIXEL4", 2, 4, 8, "pixel", True),
    ElementType("QU4", 2, 4, 9, "quad"),
    ElementType("QU6", 2, 6, 30, "quad6", True),
    ElementType("QU8", 2, 8, 23, "quad8"),
    ElementType("QU9", 2, 9, 28, "quad9"),
    ElementType("TE4", 3, 4, 10, "tetra"),
    ElementType("TE10", 3, 10, 24, "tetra10"),
    ElementType("PY5", 3, 5, 14, "pyramid"),
    ElementType("PY13", 3, 13, 27, "pyramid13"),
    ElementType("PE6", 3, 6, 13, "wedge", False, [0, 2, 1, 3, 5, 4]),
    ElementType("PE12", 3, 12, 31, "wedge12"),
    ElementType("PE15", 3, 15, 26, "wedge15", False, _PE15_OF_VTK, _PE15),
    ElementType("PE18", 3, 18, 32, "wedge18"),
    ElementType("HE8", 3, 8, 12, "hexahedron"),
    ElementType("HE20", 3, 20, 25, "hexahedron20", False, _HE20, _HE20),
    ElementType("HE24", 3, 24, 33, "hexahedron24"),
    ElementType("HE27", 3, 27, 29, "hexahedron27"),
    ElementType("PENTA_PRISM10", 3, 10, 15, "penta_prism", True),
    ElementType("HEXA_PRISM12", 3, 12, 16, "hexa_prism", True),
]
_BY_NAME = {(kind.name, kind.dimension): kind for kind in _TYPES}
_BY_NODES = {(kind.nodes, kind.dimension): kind for kind in _TYPES if not kind.is_by_name}


def _first_word(shape: str) -> str:
    match = re.match(r"[A-Z0-9_]*", shape)
    return match.group() if match else ""


def is_element_name(shape: str) -> bool:
    """Return whether the name of a shape is that of an element type, as converters write it."""
    word = _first_word(shape)
    is_known = any(word == name for name, _ in _BY_NAME) or re.fullmatch(r"PG\d+", word)
    return bool(is_known) and re.fullmatch(r"( \(\d+\))?", shape[len(word) :]) is not None


def element_type(shape: str, dimension: int, nodes: int) -> Optional[ElementType]:
    """Return the type of elements of a shape; None if there is none with so many nodes.

    Parameters
    ----------
    shape : str
        Its name, which decides between types with the same number of nodes.
    dimension : int
        From 1 to 3.
    nodes : int
        Of each element.
    """
    word = _first_word(shape)
    named = _BY_NAME.get((word, dimension))
    if named is not None and named.nodes == nodes:
        return named
    known = _BY_NODES.get((nodes, dimension))
    if known is not None and not (dimension == 2 and word.startswith("PG")):
        return known
    if dimension == 1 and nodes > 1:
        return ElementType("", 1, nodes, 4, "")
    if dimension == 2 and nodes > 2:
        return ElementType(f"PG{nodes}", 2, nodes, 7, "polygon")
    return None


def nodes_by_name(shape: str, dimension: int) -> Optional[int]:
    """Return the number of nodes of the element type that a shape is named by."""
    named = _BY_NAME.get((_first_word(shape), dimension))
    return None if named is None else named.nodes
