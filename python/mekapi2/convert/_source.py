"""The contents of an input file, independent of its format, and errors in it."""

from __future__ import annotations

import contextlib
from collections.abc import Callable, Iterator
from dataclasses import dataclass, field
from pathlib import Path
from typing import TYPE_CHECKING, Any, Optional

from numpy.typing import NDArray

if TYPE_CHECKING:
    import meshio

damaged = "the file ends early or is damaged"


class ConversionError(Exception):
    """The input cannot be read or cannot be represented, or the output must not be replaced.

    Attributes
    ----------
    reason : str
    path : Path or None
        The file at fault, if that is not the input.
    """

    def __init__(self, reason: str, path: Optional[Path] = None) -> None:
        super().__init__(reason if path is None else f"{path}: {reason}")
        self.reason = reason
        self.path = path


@contextlib.contextmanager
def conversion_errors(context: str) -> Iterator[None]:
    """Convert every exception of a reader to a `ConversionError` that has ``context``.

    Readers raise many types of exception for a damaged file. `MemoryError` and missing packages are
    not converted.
    """
    try:
        yield
    except (ConversionError, MemoryError, ModuleNotFoundError):
        raise
    except Exception as error:
        words = f"{context}: {type(error).__name__}: {error}"
        raise ConversionError(f"{damaged} ({words})") from error


@dataclass
class Frame:
    """The results of a mesh at one time.

    Attributes
    ----------
    time : float or None
        None if the results belong to no step.
    point_data : dict of str to array, shape (points, ...)
    cell_data : dict of str to list of array, shape (cells of the block, ...)
        One array for each cell block.
    """

    time: Optional[float]
    point_data: dict[str, NDArray[Any]]
    cell_data: dict[str, list[NDArray[Any]]]


@dataclass
class Part:
    """A mesh that is the same in all frames.

    Attributes
    ----------
    mesh : meshio.Mesh
    frame_count : int
    frames : callable
        Returns an iterator that reads one frame at a time, so that only one is in memory.
    regions : list of str
        The group of each cell block; empty for blocks without one.
    name : str
        Empty if the input has a single mesh.
    """

    mesh: meshio.Mesh
    frame_count: int
    frames: Callable[[], Iterator[Frame]]
    regions: list[str]
    name: str = ""


@dataclass
class Source:
    """An input file.

    Attributes
    ----------
    path : Path
    format : str
        meshio's name of the format, or ``pvd`` or ``series``.
    parts : list of Part
    byte_count : int
        Size in bytes, including all files that the input refers to.
    warnings : list of str
    """

    path: Path
    format: str
    parts: list[Part]
    byte_count: int
    warnings: list[str] = field(default_factory=list)


def part_without_steps(mesh: meshio.Mesh, regions: list[str], name: str = "") -> Part:
    """Return a part with the results of ``mesh``, which belong to no step."""
    frame = Frame(None, mesh.point_data, mesh.cell_data)
    return Part(mesh, 1, lambda: iter([frame]), regions, name)
