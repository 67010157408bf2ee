"""Time series in single files, of which `meshio.read` returns one step or none."""

from __future__ import annotations

import re
from collections.abc import Iterator
from pathlib import Path
from typing import Any, Optional
from xml.etree import ElementTree

import meshio
import numpy as np
from meshio.xdmf import TimeSeriesReader
from numpy.typing import NDArray

from ._regions import divide
from ._source import Frame, Part, conversion_errors, part_without_steps

_time_in_name = re.compile(r"(?P<name>.*)\[\d+\] - (?P<time>\S+)")

# XDMF


def is_temporal(path: Path) -> bool:
    """Return whether an XDMF file has a temporal collection.

    Raises
    ------
    ConversionError
        The file is not valid XML.
    """
    with conversion_errors("as xdmf"):
        grids = ElementTree.parse(path).getroot().iter("Grid")
        return any(grid.get("CollectionType") == "Temporal" for grid in grids)


def xdmf_part(path: Path) -> Part:
    """Return the mesh of an XDMF file with a temporal collection, and a frame for each step.

    Raises
    ------
    ConversionError
        The mesh cannot be read.
    """
    with conversion_errors("as xdmf"), TimeSeriesReader(path) as reader:
        mesh = meshio.Mesh(*reader.read_points_cells())
        return Part(mesh, reader.num_steps, lambda: _xdmf_frames(path), [""] * len(mesh.cells))


def _xdmf_frames(path: Path) -> Iterator[Frame]:
    with TimeSeriesReader(path) as reader:
        reader.read_points_cells()
        for number in range(reader.num_steps):
            with conversion_errors(f"step {number + 1}"):
                frame = Frame(*reader.read_data(number))
            yield frame


# Exodus: `meshio.read` returns the mesh and the first step


def exodus_part(path: Path, mesh: meshio.Mesh, regions: list[str]) -> Part:
    """Return ``mesh``, read from an Exodus file, with a frame for each step of that file."""
    import netCDF4

    with netCDF4.Dataset(path) as data:
        times = data.variables["time_whole"][:] if "time_whole" in data.variables else []
        if _has_no_steps(times):
            return part_without_steps(mesh, regions)
        return Part(mesh, len(times), lambda: _exodus_frames(path, mesh), regions)


def _has_no_steps(times: Any) -> bool:
    """Files without steps have no time, or one time of 0."""
    return len(times) == 0 or (len(times) == 1 and times[0] == 0)


def _exodus_frames(path: Path, mesh: meshio.Mesh) -> Iterator[Frame]:
    import netCDF4

    with netCDF4.Dataset(path) as data:
        data.set_auto_mask(False)
        for number, time in enumerate(data.variables["time_whole"][:]):
            with conversion_errors(f"step {number + 1}"):
                points = _exodus_points(data, number)
                frame = Frame(time, points, _exodus_cells(data, number, mesh))
            yield frame


def _exodus_names(data: Any, key: str) -> list[str]:
    if key not in data.variables:
        return []
    return [b"".join(name).decode().strip("\0 ") for name in data.variables[key][:]]


def _exodus_points(data: Any, number: int) -> dict[str, NDArray[Any]]:
    names = _exodus_names(data, "name_nod_var")
    values = [data.variables[f"vals_nod_var{i + 1}"][number] for i in range(len(names))]
    points = {}
    for name, columns in _vectors(names).items():
        components = [values[i] for i in columns]
        points[name] = components[0] if len(columns) == 1 else np.column_stack(components)
    return points


def _vectors(names: list[str]) -> dict[str, list[int]]:
    """Group component arrays as meshio does: ``UX, UY, UZ`` to ``U``, and ``U_R, U_Z`` to ``U``.

    Returns the indices of the components of each result: scalars first, then pairs, then triples.
    """
    vectors: dict[str, list[int]] = {}
    for suffixes in (("_R", "_Z"), ("X", "Y", "Z")):
        for name in names:
            stem = name.removesuffix(suffixes[0])
            columns = [stem + suffix for suffix in suffixes]
            if stem != name and all(column in names for column in columns):
                vectors[stem] = [names.index(column) for column in columns]
    grouped = {index for columns in vectors.values() for index in columns}
    scalars = {name: [i] for i, name in enumerate(names) if i not in grouped}
    return {**scalars, **vectors}


def _exodus_cells(data: Any, number: int, mesh: meshio.Mesh) -> dict[str, list[NDArray[Any]]]:
    """Return the results at cells; NaN for blocks for which the file has no values."""
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


# MED: `meshio.read` returns all steps, with the times in the names of the results


def med_part(mesh: meshio.Mesh) -> Part:
    """Return ``mesh``, read from a MED file, with a frame for each time.

    The families of the file become point sets and cell sets of ``mesh``.
    """
    mesh.point_sets.update(_med_point_sets(mesh))
    mesh.cell_sets.update(_med_cell_sets(mesh))
    mesh.point_data.pop("point_tags", None)
    mesh.cell_data.pop("cell_tags", None)
    mesh.field_data.pop("med:nom", None)  # the names of components
    frames: dict[Optional[float], Frame] = {}

    def split(name: str) -> tuple[str, Frame]:
        match = _time_in_name.fullmatch(name)
        time = float(match["time"]) if match else None
        return match["name"] if match else name, frames.setdefault(time, Frame(time, {}, {}))

    for name, values in mesh.point_data.items():
        name, frame = split(name)
        frame.point_data[name] = values
    for name, blocks in mesh.cell_data.items():
        name, frame = split(name)
        frame.cell_data[name] = blocks
    ordered = sorted(frames.values(), key=lambda frame: (frame.time is not None, frame.time or 0))
    return Part(mesh, len(ordered), lambda: iter(ordered), divide(mesh, "med", False))


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
