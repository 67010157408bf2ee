"""Reads input files: single mesh files with meshio, time series, and collections of files."""

from __future__ import annotations

import contextlib
import io
import json
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import NamedTuple, Optional
from xml.etree import ElementTree

import meshio
import numpy as np

from ._elements import all_cell_types
from ._source import ConversionError, Frame, Part, Source, conversion_errors, part_without_steps
from ._timeseries import exodus_part, is_temporal, med_part, xdmf_part

_xdmf_suffixes = (".xdmf", ".xmf")
_vtk_prefix = "vt"
_reversed_wedge = [0, 2, 1, 3, 5, 4, 8, 7, 6, 11, 10, 9, 12, 14, 13]


def read(path: Path, file_format: Optional[str] = None) -> Source:
    """Open a mesh file, a time series or a collection of files.

    Parameters
    ----------
    path : Path
    file_format : str, optional
        meshio's name of the format. The default follows from the suffix.

    Raises
    ------
    ConversionError
        The file does not exist, is damaged, or has an unknown format.
    """
    if not path.is_file():
        raise ConversionError("no such file")
    suffix = path.suffix.lower()
    if file_format is None and suffix in _collections:
        return _read_collection(path, suffix)
    byte_count = path.stat().st_size
    may_be_xdmf = suffix in _xdmf_suffixes if file_format is None else file_format == "xdmf"
    if may_be_xdmf and is_temporal(path):
        return Source(path, "xdmf", [xdmf_part(path)], byte_count)
    warnings: list[str] = []
    mesh, file_format = _read_mesh(path, file_format, warnings)
    part = _part_of(path, mesh, file_format)
    if part.frame_count > 1:
        warnings = [each for each in warnings if "Skipping some time data" not in each]
    return Source(path, file_format, [part], byte_count, warnings)


def _part_of(path: Path, mesh: meshio.Mesh, file_format: str) -> Part:
    if file_format == "exodus":
        return exodus_part(path, mesh)
    if file_format == "med":
        return med_part(mesh)
    return part_without_steps(mesh)


# Single mesh files


def _read_mesh(
    path: Path, file_format: Optional[str], warnings: list[str]
) -> tuple[meshio.Mesh, str]:
    """Return the mesh and its format; formats that share the suffix are tried in turn.

    Warnings that meshio prints are appended to ``warnings``.
    """
    reasons = []
    for candidate in [file_format] if file_format else _formats_of(path):
        output = io.StringIO()
        try:
            with all_cell_types(), contextlib.redirect_stdout(output), \
                    contextlib.redirect_stderr(output):  # fmt: skip
                mesh = meshio.read(path, file_format=candidate)
        except MemoryError:
            raise
        except SystemExit:  # meshio exits if its reader raises a ReadError
            reasons.append(f"{candidate}: {_one_line(output.getvalue())}")
        except Exception as error:
            reasons.append(f"{candidate}: {type(error).__name__}: {error}")
        else:
            if candidate.startswith(_vtk_prefix):
                _reverse_wedges(mesh)
            printed = _one_line(output.getvalue()).split("Warning: ")
            warnings += [each.strip() for each in printed if each.strip()]
            return mesh, candidate
    raise ConversionError("; ".join(f"cannot read as {reason}" for reason in reasons))


def _formats_of(path: Path) -> list[str]:
    suffix = ""
    formats: list[str] = []
    for part in reversed(path.suffixes):
        suffix = part.lower() + suffix
        formats += meshio.extension_to_filetypes.get(suffix, [])
    if not formats:
        raise ConversionError(f"unknown suffix {path.suffix!r}; give the format with --format")
    return formats


def _reverse_wedges(mesh: meshio.Mesh) -> None:
    """Convert second-order wedges from VTK's node order to that of all other formats.

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
    with conversion_errors("cannot read as pvd"):
        root = ElementTree.parse(path).getroot()
        members = []
        for data_set in root.iter("DataSet"):
            part = data_set.get("name") or f"Part {data_set.get('part', '0')}"
            time = data_set.get("timestep")
            file = path.parent / data_set.attrib["file"]
            members.append(_Member(part, None if time is None else float(time), file))
        return members


def _series_members(path: Path) -> list[_Member]:
    with conversion_errors("cannot read as series"):
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
    byte_count = sum(file.stat().st_size for file in {path, *(each.path for each in members)})
    return Source(path, suffix[1:], parts, byte_count, warnings)


def _series_part(name: str, files: list[_Member], warnings: list[str]) -> Part:
    files = sorted(files, key=lambda file: file.time or 0.0)
    mesh = _read_member(files[0], warnings)
    if len(files) == 1 and not files[0].time:
        return part_without_steps(mesh, name)
    return Part(mesh, len(files), lambda: _series_frames(files, mesh, warnings), name)


def _series_frames(
    files: list[_Member], first: meshio.Mesh, warnings: list[str]
) -> Iterator[Frame]:
    for file in files:
        mesh = first if file is files[0] else _read_member(file, warnings)
        if mesh is not first and not _is_same(mesh, first):
            raise ConversionError(
                f"{file.path}: the mesh differs from that of {files[0].path}; "
                "only results can change with time"
            )
        yield Frame(file.time, mesh.point_data, mesh.cell_data)


def _read_member(file: _Member, warnings: list[str]) -> meshio.Mesh:
    try:
        return _read_mesh(file.path, None, warnings)[0]
    except ConversionError as error:
        raise ConversionError(f"{file.path}: {error}") from error


def _is_same(one: meshio.Mesh, other: meshio.Mesh) -> bool:
    return (
        np.array_equal(one.points, other.points)
        and [block.type for block in one.cells] == [block.type for block in other.cells]
        and all(np.array_equal(a.data, b.data) for a, b in zip(one.cells, other.cells))
    )
