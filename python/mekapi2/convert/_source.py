"""What a mesh file holds, whatever its format: meshes, and their results moment by moment."""

from __future__ import annotations

from collections.abc import Callable, Iterator
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Optional

import meshio
from numpy.typing import NDArray


@dataclass
class Frame:
    """The results of one moment."""

    time: Optional[float]
    """None for results that belong to no step."""
    point_data: dict[str, NDArray[Any]]
    cell_data: dict[str, list[NDArray[Any]]]
    """Per result one array for each cell block."""


@dataclass
class Part:
    """One mesh that stays the same through all frames."""

    mesh: meshio.Mesh
    frame_count: int
    frames: Callable[[], Iterator[Frame]]
    """Reads frame after frame, so that only one is in memory."""
    name: str = ""
    """Empty for a file of one mesh."""


@dataclass
class Source:
    """An input file."""

    path: Path
    format: str
    parts: list[Part]
    byte_count: int
    warnings: list[str] = field(default_factory=list)


def still(mesh: meshio.Mesh, name: str = "") -> Part:
    """A mesh with results that belong to no step."""
    frame = Frame(None, mesh.point_data, mesh.cell_data)
    return Part(mesh, 1, lambda: iter([frame]), name)
