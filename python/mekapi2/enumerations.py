"""The enumerations of the library. All arguments accept a member, its number or its name."""

from __future__ import annotations

import enum

__all__ = ["DatasetType", "NodeType", "PropertyType"]


class NodeType(enum.IntEnum):
    """The type of a node for `Model.add_node`."""

    FlaggedRootGroup = 1
    """Group with the root flag; only for the root."""
    RootGroup = 2
    """Group; only for the root."""
    Group = 3
    """Group; for the root and all other nodes."""
    Shape = 4
    """Shape, with a geometry of the same name below it unless the shape is the root."""


class PropertyType(enum.IntEnum):
    """The key of a node property.

    Groups have a placement:

    - ``Translation``: 3 numbers x, y, z, in the unit of the coordinates
    - ``Rotation``: 4 numbers, the axis x, y, z and the angle in radians
    - ``Scale``: 3 factors in x, y, z

    Shapes have a material:

    - ``DiffuseColor``, ``SpecularColor``: 3 or 4 numbers, red, green, blue; a fourth is ignored
    - ``EmissiveColor``, ``AmbientColor``: 3 numbers, red, green, blue
    - ``Transparency``: 1 number; 0 by default
    - ``AmbientIntensity``: 1 number; sets the ambient colour to its product with the diffuse colour
    - ``Shininess``: 1 number; 0.2 by default
    - ``MaterialFlag``: True or False
    """

    Translation = 0
    Rotation = 1
    Scale = 2
    DiffuseColor = 3
    SpecularColor = 4
    EmissiveColor = 5
    AmbientColor = 6
    Transparency = 7
    AmbientIntensity = 8
    Shininess = 9
    MaterialFlag = 10


class DatasetType(enum.IntEnum):
    """The type of an array: its number of columns, its default name and the kind of variable.

    Results and displacements have 1, 3 or 6 columns, the digit in their name: scalar, vector or
    symmetric tensor (xx, yy, zz, xy, yz, xz). Coordinates have 3 columns, all other arrays 1.
    Arrays of one column have the shape (n,) or (n, 1), others (n, 3) or (n, 6). Results of type A
    belong to nodes, those of type B to elements; C and D have no fixed meaning. Results have no
    default name.
    """

    Connectivity0 = 0
    """Node rows of line elements, one element after the other."""
    Connectivity1 = 1
    """Node rows of surface elements."""
    Connectivity2 = 2
    """Node rows of solid elements."""
    Polylength0 = 3
    """Number of nodes of each line element."""
    Polylength1 = 4
    """Number of nodes of each surface element."""
    Polylength2 = 5
    """Number of nodes of each solid element."""
    PartElements0 = 6
    PartElements1 = 7
    PartElements2 = 8
    Coordinates = 9
    ResultA1 = 10
    ResultA3 = 11
    ResultA6 = 12
    ResultA6b = 13
    ResultB1 = 14
    ResultB3 = 15
    ResultB6 = 16
    ResultB6b = 17
    ResultC1 = 18
    ResultC3 = 19
    ResultC6 = 20
    ResultC6b = 21
    ResultD1 = 22
    ResultD1b = 23
    ResultD3 = 24
    ResultD6 = 25
    ResultD6b = 26
    NodeIds = 27
    ElementIds = 28
    Displacement3 = 29
    Displacement6 = 30

    @property
    def width(self) -> int:
        """Number of columns: 1, 3 or 6."""
        if self is DatasetType.Coordinates:
            return 3
        is_result = self.name.startswith(("Result", "Displacement"))
        return int(self.name.rstrip("b")[-1]) if is_result else 1
