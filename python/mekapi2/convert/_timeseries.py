"""Time series in files that meshio's general reader takes for one moment."""

from __future__ import annotations

import re
from collections.abc import Iterator
from pathlib import Path
from typing import Any, Optional
from xml.etree import ElementTree

import meshio
import numpy as np
from meshio.exodus._exodus import categorize
from meshio.xdmf import TimeSeriesReader
from numpy.typing import NDArray

from ._errors import told_as_conversion_error
from ._source import Frame, Part, still

_time_in_name = re.compile(r"(?P<name>.*)\[\d+\] - (?P<time>\S+)")

# XDMF


def is_temporal(path: Path) -> bool:
    with told_as_conversion_error("not read as xdmf"):
        grids = ElementTree.parse(path).getroot().iter("Grid")
        return any(grid.get("CollectionType") == "Temporal" for grid in grids)


def xdmf_part(path: Path) -> Part:
    with told_as_conversion_error("not read as xdmf"), TimeSeriesReader(path) as reader:
        mesh = meshio.Mesh(*reader.read_points_cells())
        return Part(mesh, reader.num_steps, lambda: _xdmf_frames(path))


def _xdmf_frames(path: Path) -> Iterator[Frame]:
    with TimeSeriesReader(path) as reader:
        reader.read_points_cells()
        for number in range(reader.num_steps):
            with told_as_conversion_error(f"step {number + 1}"):
                frame = Frame(*reader.read_data(number))
            yield frame


# Exodus: meshio reads the mesh and the first step


def exodus_part(path: Path, mesh: meshio.Mesh) -> Part:
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
            with told_as_conversion_error(f"step {number + 1}"):
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


def med_part(mesh: meshio.Mesh) -> Part:
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
