"""The enumerations of the library. Wherever one is taken, its name as a text will do as well."""

from __future__ import annotations

import enum

__all__ = ["DatasetType", "NodeType", "PropertyType"]


class NodeType(enum.IntEnum):
    """What `Model.add_node` adds."""

    FlaggedRootGroup = 1
    """Root only: a group whose root flag is set."""
    RootGroup = 2
    """Root only: a group."""
    Group = 3
    """A group, as root or below."""
    Shape = 4
    """A shape; below the root with a geometry of the same name."""


class PropertyType(enum.IntEnum):
    """Key of a node property. The first three belong to groups, the others to shapes."""

    Translation = 0
    """Three numbers."""
    Rotation = 1
    """Four numbers, stored as given."""
    Scale = 2
    """Three numbers."""
    DiffuseColor = 3
    """Three or four numbers; the fourth is not used."""
    SpecularColor = 4
    """Three or four numbers; the fourth is not used."""
    EmissiveColor = 5
    """Three numbers."""
    AmbientColor = 6
    """Three numbers."""
    Transparency = 7
    """A number."""
    AmbientIntensity = 8
    """A number; the ambient colour becomes this times the diffuse colour."""
    Shininess = 9
    """A number."""
    MaterialFlag = 10
    """True or false."""


class DatasetType(enum.IntEnum):
    """What an array is: its numbers per row, and what a reader finds in it.

    The number in a result's name is its numbers per row: 1, 3 or 6. Coordinates have 3, a
    displacement 3 or 6, all others 1. An array of one number per row has the shape (n,) or (n, 1),
    any other (n, 3) or (n, 6). Results have no name of their own.
    """

    Connectivity0 = 0
    """Row numbers of nodes, of elements of one dimension."""
    Connectivity1 = 1
    """The same of elements of two dimensions."""
    Connectivity2 = 2
    """The same of elements of three dimensions."""
    Polylength0 = 3
    """Nodes of each element of one dimension."""
    Polylength1 = 4
    Polylength2 = 5
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
        """Numbers per row: 1, 3 or 6."""
        if self is DatasetType.Coordinates:
            return 3
        is_result = self.name.startswith(("Result", "Displacement"))
        return int(self.name.rstrip("b")[-1]) if is_result else 1
