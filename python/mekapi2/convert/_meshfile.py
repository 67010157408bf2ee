"""Reads one mesh file with meshio."""

from __future__ import annotations

import contextlib
import io
from pathlib import Path
from typing import Optional

import meshio

from ._errors import ConversionError

_vtk_prefix = "vt"
_turned_wedge = [0, 2, 1, 3, 5, 4, 8, 7, 6, 11, 10, 9, 12, 14, 13]


def _formats_of(path: Path) -> list[str]:
    suffix = ""
    formats: list[str] = []
    for part in reversed(path.suffixes):
        suffix = part.lower() + suffix
        formats += meshio.extension_to_filetypes.get(suffix, [])
    if not formats:
        raise ConversionError(f"no format has the suffix {path.suffix!r}; name it with --format")
    return formats


def read_mesh(
    path: Path, file_format: Optional[str], warnings: list[str]
) -> tuple[meshio.Mesh, str]:
    """The mesh and its format. Some formats share a suffix and are tried one after the other."""
    reasons = []
    for candidate in [file_format] if file_format else _formats_of(path):
        said = io.StringIO()
        try:
            with contextlib.redirect_stdout(said), contextlib.redirect_stderr(said):
                mesh = meshio.read(path, file_format=candidate)
        except MemoryError:
            raise
        except SystemExit:  # how meshio ends when no reader takes a file
            reasons.append(f"{candidate}: {_sentence(said.getvalue())}")
        except Exception as error:
            reasons.append(f"{candidate}: {type(error).__name__}: {error}")
        else:
            if candidate.startswith(_vtk_prefix):
                _turn_wedges(mesh)
            told = _sentence(said.getvalue()).split("Warning: ")
            warnings += [text.strip() for text in told if text.strip()]
            return mesh, candidate
    raise ConversionError("; ".join(f"not read as {reason}" for reason in reasons))


def _turn_wedges(mesh: meshio.Mesh) -> None:
    """Lets the first face of second-order wedges be seen from inside, as in all other formats.

    Of linear wedges meshio does so itself.
    """
    for block in mesh.cells:
        if block.type == "wedge15":
            block.data = block.data[:, _turned_wedge]


def _sentence(text: str) -> str:
    return " ".join(text.split())
