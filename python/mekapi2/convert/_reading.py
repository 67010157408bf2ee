"""Reads input files: single mesh files with meshio, time series, and collections of files."""

from __future__ import annotations

import contextlib
import copy
import errno
import glob
import io
import json
import os
import re
import stat
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import NamedTuple, Optional
from xml.etree import ElementTree

import meshio
import numpy as np

from ..reader._meshtypes import complete_dimensions
from ._regions import divide
from ._source import (
    ConversionError,
    Frame,
    Part,
    Source,
    conversion_errors,
    damaged,
    part_without_steps,
)
from ._timeseries import exodus_part, is_temporal, med_part, xdmf_part

_xdmf_suffixes = (".xdmf", ".xmf")
_vtk_prefix = "vt"
_reversed_wedge = [0, 2, 1, 3, 5, 4, 8, 7, 6, 11, 10, 9, 12, 14, 13]

# What meshio says of valid files with contents that it does not read.
_unsupported = re.compile(
    r"not available|not implemented|[Uu]nknown|[Uu]nsupported|[Oo]nly|Need |Incompatible cell data"
)

complete_dimensions()


def is_format(name: str) -> bool:
    """Return whether meshio reads or writes a format of this name."""
    return name in meshio._helpers.reader_map or name in meshio._helpers._writer_map


def check_readable(path: Path) -> None:
    """Raise an exception unless ``path`` is a regular file that can be opened.

    Raises
    ------
    ConversionError
        It is not a regular file.
    OSError
        The system cannot open it.
    """
    if str(path) == "-":
        raise ConversionError("needs a regular file, not standard input")
    mode = path.stat().st_mode
    if stat.S_ISDIR(mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), str(path))
    if not stat.S_ISREG(mode):
        raise ConversionError("needs a regular file")
    path.open("rb").close()


def read(
    path: Path, file_format: Optional[str] = None, keep_blocks: bool = False
) -> Source:
    """Open a mesh file, a time series or a collection of files.

    Parameters
    ----------
    path : Path
    file_format : str, optional
        meshio's name of the format. The default follows from the suffix.
    keep_blocks : bool
        Keep the cell blocks of meshio, instead of one for each region and element type.

    Raises
    ------
    ConversionError
        The file is damaged or has an unknown format.
    FileNotFoundError
        A file that it refers to is missing.
    """
    suffix = path.suffix.lower()
    if file_format is None and suffix in _collections:
        return _read_collection(path, suffix)
    _check_companions(path)
    may_be_xdmf = suffix in _xdmf_suffixes if file_format is None else file_format == "xdmf"
    if may_be_xdmf and is_temporal(path):
        return Source(path, "xdmf", [xdmf_part(path)], _byte_count([path]))
    warnings: list[str] = []
    mesh, file_format = _read_mesh(path, file_format, warnings)
    part = _part_of(path, mesh, file_format, keep_blocks)
    if part.frame_count > 1:
        warnings = [each for each in warnings if "Skipping some time data" not in each]
    return Source(path, file_format, [part], _byte_count([path]), warnings)


def _part_of(path: Path, mesh: meshio.Mesh, file_format: str, keep_blocks: bool) -> Part:
    if file_format == "med":
        return med_part(mesh)
    regions = divide(mesh, file_format, keep_blocks)
    if file_format == "exodus":
        return exodus_part(path, mesh, regions)
    return part_without_steps(mesh, regions)


def source_of_mesh(path: Path, mesh: meshio.Mesh) -> Source:
    """Return the contents of a mesh in memory, which is not changed."""
    copied = copy.copy(mesh)
    copied.cells = list(mesh.cells)
    return Source(path, "meshio", [part_without_steps(copied, divide(copied, "", True))], 0)


# Single mesh files


def _read_mesh(
    path: Path, file_format: Optional[str], warnings: list[str]
) -> tuple[meshio.Mesh, str]:
    """Return the mesh and its format; formats that share the suffix are tried in turn.

    Warnings that meshio prints are appended to ``warnings``.
    """
    reasons: list[tuple[str, str]] = []
    for candidate in [file_format] if file_format else _formats_of(path):
        output = io.StringIO()
        try:
            with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
                mesh = meshio.read(path, file_format=candidate)
        except (MemoryError, ModuleNotFoundError):
            raise
        except SystemExit:  # meshio exits if its reader raises a ReadError
            words = _one_line(output.getvalue()).split("Error: Couldn't read file")[0].strip()
            reasons.append((candidate, words or "ReadError"))
        except Exception as error:
            reasons.append((candidate, f"{type(error).__name__}: {error}"))
        else:
            if candidate.startswith(_vtk_prefix):
                reverse_wedges(mesh)
            warnings += warnings_of(output.getvalue())
            return mesh, candidate
    raise ConversionError(_failure(reasons))


def _failure(reasons: list[tuple[str, str]]) -> str:
    """Return the message for a file that no reader accepts.

    Parameters
    ----------
    reasons : list of (str, str)
        Formats, and what meshio says of the file as such.
    """
    words = "; ".join(f"as {candidate}: {reason}" for candidate, reason in reasons)
    if reasons[0][0] == "abaqus":
        return (
            f"{damaged}, or meshio does not read such decks ({words}); "
            "convert the solver's .frd file with frd2mek"
        )
    if any(_unsupported.search(reason) for _, reason in reasons):
        return f"meshio does not read this file ({words})"
    return f"{damaged} ({words})"


def _check_companions(path: Path) -> None:
    """Raise `FileNotFoundError` if a file is missing that meshio reads in addition to ``path``."""
    for file in _companions(path):
        if not file.exists():
            raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), str(file))


def _byte_count(paths: list[Path]) -> int:
    files = {file.resolve() for path in paths for file in (path, *_companions(path))}
    return sum(file.stat().st_size for file in files if file.is_file())


def _companions(path: Path) -> list[Path]:
    """Return the files that meshio reads in addition to ``path``."""
    suffix = path.suffix.lower()
    if suffix in _xdmf_suffixes:
        with conversion_errors("as xdmf"):
            items = ElementTree.parse(path).getroot().iter("DataItem")
        texts = [(item.get("Format"), (item.text or "").strip()) for item in items]
        return [path.parent / text.split(":")[0] for form, text in texts if form == "HDF"]
    if suffix in (".node", ".ele"):  # TetGen
        return [path.with_suffix(".node"), path.with_suffix(".ele")]
    if suffix == ".xml":  # DOLFIN
        return list(path.parent.glob(f"{glob.escape(path.stem)}_*.xml"))
    return []


def _formats_of(path: Path) -> list[str]:
    suffix = ""
    formats: list[str] = []
    for part in reversed(path.suffixes):
        suffix = part.lower() + suffix
        formats += meshio.extension_to_filetypes.get(suffix, [])
    if not formats:
        raise ConversionError(_unknown_format(path))
    return formats


def _unknown_format(path: Path) -> str:
    with path.open("rb") as file:
        if file.read(2) == b"\x1f\x8b":
            return "this is a gzip file; decompress it first"
    if path.suffix.lower() == ".frd":
        return "this is a result file of the solver; convert it with frd2mek"
    return f"unknown suffix {path.suffix!r}; give the format with --format"


def warnings_of(output: str) -> list[str]:
    """Return the warnings in the output of meshio, one line for each."""
    printed = re.split("Warning: |Info: ", _one_line(output))
    return [each.strip() for each in printed if each.strip()]


def format_for_writing(path: Path) -> str:
    """Return meshio's name of the format in which ``path`` is written.

    Raises
    ------
    ConversionError
        The suffix is unknown, or meshio cannot write the format.
    """
    suffix = path.suffix.lower()
    formats = ["gmsh22"] if suffix == ".msh" else meshio.extension_to_filetypes.get(suffix, [])
    writable = [each for each in formats if each in meshio._helpers._writer_map and each != "mek"]
    if not writable:
        raise ConversionError(
            f"meshio writes no files with the suffix {suffix!r}; give the format with --format"
        )
    return str(writable[0])


def reverse_wedges(mesh: meshio.Mesh) -> None:
    """Convert second-order wedges between VTK's node order and that of all other formats.

    VTK orders the nodes of the first face the other way round. meshio converts linear wedges only.
    """
    for block in mesh.cells:
        if block.type == "wedge15":
            block.data = block.data[:, _reversed_wedge]


def _one_line(output: str) -> str:
    return " ".join(output.split())


# Collections: a file that lists one mesh file for each part and time


class _Member(NamedTuple):
    part: str
    time: Optional[float]
    path: Path


def _pvd_members(path: Path) -> list[_Member]:
    with conversion_errors("as pvd"):
        root = ElementTree.parse(path).getroot()
        members = []
        for data_set in root.iter("DataSet"):
            part = data_set.get("name") or f"Part {data_set.get('part', '0')}"
            time = data_set.get("timestep")
            file = path.parent / data_set.attrib["file"]
            members.append(_Member(part, None if time is None else float(time), file))
        return members


def _series_members(path: Path) -> list[_Member]:
    with conversion_errors("as series"):
        files = json.loads(path.read_text(encoding="utf-8"))["files"]
        return [_Member("", float(file["time"]), path.parent / file["name"]) for file in files]


_collections: dict[str, Callable[[Path], list[_Member]]] = {
    ".pvd": _pvd_members,
    ".series": _series_members,
}


def _read_collection(path: Path, suffix: str) -> Source:
    members = _collections[suffix](path)
    if not members:
        raise ConversionError("the collection lists no files")
    missing = [str(member.path) for member in members if not member.path.is_file()]
    if missing:
        raise ConversionError(f"the collection lists a file that does not exist: {missing[0]}")
    series: dict[str, list[_Member]] = {}
    for member in members:
        series.setdefault(member.part, []).append(member)
    warnings: list[str] = []
    parts = [_series_part(name, files, warnings) for name, files in series.items()]
    if len(parts) == 1:
        parts[0].name = ""
    files = [path, *(member.path for member in members)]
    return Source(path, suffix[1:], parts, _byte_count(files), warnings)


def _series_part(name: str, files: list[_Member], warnings: list[str]) -> Part:
    files = sorted(files, key=lambda file: file.time or 0.0)
    mesh = _read_member(files[0], warnings)
    regions = divide(mesh, "", True)
    if len(files) == 1 and not files[0].time:
        return part_without_steps(mesh, regions, name)
    return Part(mesh, len(files), lambda: _series_frames(files, mesh, warnings), regions, name)


def _series_frames(
    files: list[_Member], first: meshio.Mesh, warnings: list[str]
) -> Iterator[Frame]:
    for file in files:
        mesh = first if file is files[0] else _read_member(file, warnings)
        if mesh is not first and not is_same(mesh, first):
            raise ConversionError(
                f"the mesh differs from that of {files[0].path}; only results can change with time",
                file.path,
            )
        yield Frame(file.time, mesh.point_data, mesh.cell_data)


def _read_member(file: _Member, warnings: list[str]) -> meshio.Mesh:
    _check_companions(file.path)
    try:
        return _read_mesh(file.path, None, warnings)[0]
    except ConversionError as error:
        raise ConversionError(error.reason, file.path) from error


def is_same(one: meshio.Mesh, other: meshio.Mesh) -> bool:
    """Return whether points and cells are equal."""
    return (
        np.array_equal(one.points, other.points)
        and [block.type for block in one.cells] == [block.type for block in other.cells]
        and all(np.array_equal(a.data, b.data) for a, b in zip(one.cells, other.cells))
    )
