"""Reads mesh files with meshio, and finds the time series that its general reader passes over."""

from __future__ import annotations

import contextlib
import io
import json
import re
from collections.abc import Iterator
from pathlib import Path
from typing import Any, NamedTuple, Optional
from xml.etree import ElementTree

import meshio
import numpy as np
from meshio.exodus._exodus import categorize
from meshio.xdmf import TimeSeriesReader
from numpy.typing import NDArray

from ._errors import ConversionError
from ._source import Frame, Part, Source, still

_xdmf_suffixes = (".xdmf", ".xmf")
_vtk_prefix = "vt"
_turned_wedge = [0, 2, 1, 3, 5, 4, 8, 7, 6, 11, 10, 9, 12, 14, 13]
_time_in_name = re.compile(r"(?P<name>.*)\[\d+\] - (?P<time>\S+)")


def read(path: Path, file_format: Optional[str] = None) -> Source:
    """Opens a mesh file, a time series or a collection of files.

    :param file_format: meshio's name of the format; by default the file's suffix tells
    """
    if not path.is_file():
        raise ConversionError("no such file")
    if file_format is None:
        if path.suffix.lower() == ".pvd":
            return _read_collection(path, "pvd", _pvd_members(path))
        if path.suffix.lower() == ".series":
            return _read_collection(path, "series", _series_members(path))
    if file_format == "xdmf" or (file_format is None and path.suffix.lower() in _xdmf_suffixes):
        if _is_temporal(path):
            return _source(path, "xdmf", _xdmf_part(path))
    warnings: list[str] = []
    mesh, file_format = _read_mesh(path, file_format, warnings)
    part = _part_of(path, mesh, file_format)
    if part.frame_count > 1:
        warnings = [text for text in warnings if "Skipping some time data" not in text]
    return _source(path, file_format, part, warnings)


def _source(
    path: Path, file_format: str, part: Part, warnings: Optional[list[str]] = None
) -> Source:
    return Source(path, file_format, [part], path.stat().st_size, warnings or [])


def _part_of(path: Path, mesh: meshio.Mesh, file_format: str) -> Part:
    if file_format == "exodus":
        return _exodus_part(path, mesh)
    if file_format == "med":
        return _med_part(mesh)
    return still(mesh)


@contextlib.contextmanager
def _told_as_conversion_error(what: str) -> Iterator[None]:
    """Readers of broken files fail in many ways; all of them mean the same."""
    try:
        yield
    except (ConversionError, MemoryError):
        raise
    except Exception as error:
        raise ConversionError(f"{what}: {type(error).__name__}: {error}") from error


def _formats_of(path: Path) -> list[str]:
    suffix = ""
    formats: list[str] = []
    for part in reversed(path.suffixes):
        suffix = part.lower() + suffix
        formats += meshio.extension_to_filetypes.get(suffix, [])
    if not formats:
        raise ConversionError(f"no format has the suffix {path.suffix!r}; name it with --format")
    return formats


def _read_mesh(
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


# XDMF


def _is_temporal(path: Path) -> bool:
    with _told_as_conversion_error("not read as xdmf"):
        grids = ElementTree.parse(path).getroot().iter("Grid")
        return any(grid.get("CollectionType") == "Temporal" for grid in grids)


def _xdmf_part(path: Path) -> Part:
    with _told_as_conversion_error("not read as xdmf"), TimeSeriesReader(path) as reader:
        mesh = meshio.Mesh(*reader.read_points_cells())
        return Part(mesh, reader.num_steps, lambda: _xdmf_frames(path))


def _xdmf_frames(path: Path) -> Iterator[Frame]:
    with TimeSeriesReader(path) as reader:
        reader.read_points_cells()
        for number in range(reader.num_steps):
            with _told_as_conversion_error(f"step {number + 1}"):
                frame = Frame(*reader.read_data(number))
            yield frame


# Exodus: meshio reads the mesh and the first step


def _exodus_part(path: Path, mesh: meshio.Mesh) -> Part:
    import netCDF4

    with netCDF4.Dataset(path) as data:
        times = data.variables["time_whole"][:] if "time_whole" in data.variables else []
        if _is_still(times):
            return still(mesh)
        return Part(mesh, len(times), lambda: _exodus_frames(path, mesh))


def _is_still(times: Any) -> bool:
    """Writers of files without steps give a single time of 0."""
    return len(times) == 0 or (len(times) == 1 and times[0] == 0)


def _exodus_frames(path: Path, mesh: meshio.Mesh) -> Iterator[Frame]:
    import netCDF4

    with netCDF4.Dataset(path) as data:
        data.set_auto_mask(False)
        for number, time in enumerate(data.variables["time_whole"][:]):
            with _told_as_conversion_error(f"step {number + 1}"):
                points = _exodus_points(data, number)
                frame = Frame(time, points, _exodus_cells(data, number, mesh))
            yield frame


def _exodus_names(data: Any, key: str) -> list[str]:
    if key not in data.variables:
        return []
    return [b"".join(text).decode().strip("\0 ") for text in data.variables[key][:]]


def _exodus_points(data: Any, number: int) -> dict[str, NDArray[Any]]:
    names = _exodus_names(data, "name_nod_var")
    values = [data.variables[f"vals_nod_var{i + 1}"][number] for i in range(len(names))]
    single, double, triple = categorize(names)
    points = {name: values[i] for name, i in single}
    for name, *columns in [*double, *triple]:
        points[name] = np.column_stack([values[i] for i in columns])
    return points


def _exodus_cells(data: Any, number: int, mesh: meshio.Mesh) -> dict[str, list[NDArray[Any]]]:
    """A result need not be there for all blocks; where it is not, it is NaN."""
    cells = {}
    for i, name in enumerate(_exodus_names(data, "name_elem_var")):
        values = [
            data.variables.get(f"vals_elem_var{i + 1}eb{k + 1}") for k in range(len(mesh.cells))
        ]
        cells[name] = [
            np.full(len(block), np.nan) if value is None else value[number]
            for block, value in zip(mesh.cells, values)
        ]
    return cells


# MED: meshio puts the times into the names of the results


def _med_part(mesh: meshio.Mesh) -> Part:
    frames: dict[Optional[float], Frame] = {}

    def place(name: str) -> tuple[str, Frame]:
        match = _time_in_name.fullmatch(name)
        time = float(match["time"]) if match else None
        return match["name"] if match else name, frames.setdefault(time, Frame(time, {}, {}))

    for name, values in mesh.point_data.items():
        name, frame = place(name)
        frame.point_data[name] = values
    for name, blocks in mesh.cell_data.items():
        name, frame = place(name)
        frame.cell_data[name] = blocks
    mesh.point_sets.update(_med_point_sets(mesh))
    mesh.cell_sets.update(_med_cell_sets(mesh))
    ordered = sorted(frames.values(), key=lambda frame: (frame.time is not None, frame.time or 0))
    return Part(mesh, len(ordered), lambda: iter(ordered))


def _members(tags: NDArray[Any], families: dict[int, list[str]], name: str) -> NDArray[Any]:
    of_name = [number for number, names in families.items() if name in names]
    return np.flatnonzero(np.isin(tags, of_name))


def _med_point_sets(mesh: meshio.Mesh) -> dict[str, NDArray[Any]]:
    families = mesh.point_tags if "point_tags" in mesh.point_data else {}
    names = {name: None for names in families.values() for name in names}
    return {name: _members(mesh.point_data["point_tags"], families, name) for name in names}


def _med_cell_sets(mesh: meshio.Mesh) -> dict[str, list[NDArray[Any]]]:
    families = mesh.cell_tags if "cell_tags" in mesh.cell_data else {}
    names = {name: None for names in families.values() for name in names}
    return {
        name: [_members(tags, families, name) for tags in mesh.cell_data["cell_tags"]]
        for name in names
    }


# Collections: one file for each step and part


class _Member(NamedTuple):
    part: str
    time: Optional[float]
    path: Path


def _pvd_members(path: Path) -> list[_Member]:
    with _told_as_conversion_error("not read as pvd"):
        root = ElementTree.parse(path).getroot()
        members = []
        for data_set in root.iter("DataSet"):
            part = data_set.get("name") or f"Part {data_set.get('part', '0')}"
            time = data_set.get("timestep")
            file = path.parent / data_set.attrib["file"]
            members.append(_Member(part, None if time is None else float(time), file))
        return members


def _series_members(path: Path) -> list[_Member]:
    with _told_as_conversion_error("not read as a file series"):
        files = json.loads(path.read_text(encoding="utf-8"))["files"]
        return [_Member("", float(file["time"]), path.parent / file["name"]) for file in files]


def _read_collection(path: Path, file_format: str, members: list[_Member]) -> Source:
    if not members:
        raise ConversionError("the collection names no file")
    missing = [str(member.path) for member in members if not member.path.is_file()]
    if missing:
        raise ConversionError(f"the collection names files that do not exist: {missing[0]}")
    series: dict[str, list[_Member]] = {}
    for member in members:
        series.setdefault(member.part, []).append(member)
    warnings: list[str] = []
    parts = [_series_part(name, files, warnings) for name, files in series.items()]
    if len(parts) == 1:
        parts[0].name = ""
    byte_count = sum(file.stat().st_size for file in {path, *(each.path for each in members)})
    return Source(path, file_format, parts, byte_count, warnings)


def _series_part(name: str, files: list[_Member], warnings: list[str]) -> Part:
    files = sorted(files, key=lambda file: file.time or 0.0)
    mesh = _read_member(files[0], warnings)
    if len(files) == 1 and not files[0].time:
        return still(mesh, name)
    return Part(mesh, len(files), lambda: _series_frames(files, mesh, warnings), name)


def _read_member(file: _Member, warnings: list[str]) -> meshio.Mesh:
    with _told_as_conversion_error(str(file.path)):
        try:
            return _read_mesh(file.path, None, warnings)[0]
        except ConversionError as error:
            raise ConversionError(f"{file.path}: {error}") from error


def _series_frames(
    files: list[_Member], first: meshio.Mesh, warnings: list[str]
) -> Iterator[Frame]:
    for file in files:
        mesh = first if file is files[0] else _read_member(file, warnings)
        if mesh is not first and not _is_same(mesh, first):
            raise ConversionError(
                f"{file.path}: the mesh is not that of {files[0].path}; only results may change"
            )
        yield Frame(file.time, mesh.point_data, mesh.cell_data)


def _is_same(one: meshio.Mesh, other: meshio.Mesh) -> bool:
    return (
        np.array_equal(one.points, other.points)
        and [block.type for block in one.cells] == [block.type for block in other.cells]
        and all(np.array_equal(a.data, b.data) for a, b in zip(one.cells, other.cells))
    )
