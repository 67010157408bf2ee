"""Writes models in the formats of meshio."""

from __future__ import annotations

import contextlib
import io
import tempfile
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any, Optional

import meshio
import numpy as np
from meshio.xdmf import TimeSeriesWriter
from numpy.typing import NDArray

from ..reader import File, FormatError
from ..reader import open as open_file
from . import check_replaceable
from ._reading import format_for_writing, is_same, reverse_wedges, warnings_of
from ._source import ConversionError
from ._writing import Counts


# What the writers of meshio leave out without a word.
_LEFT_OUT = {
    "abaqus": ("point data", "cell data"),
    "exodus": ("cell data", "cell sets"),
    "med": ("point sets", "cell sets"),
    "medit": ("point data", "cell data", "point sets", "cell sets"),
    "nastran": ("point data", "cell data", "point sets", "cell sets"),
    "gmsh22": ("point sets",),
    "xdmf": ("point sets", "cell sets"),
}
_ONLY_CELLS = {"cgns": "tetra"}


def export(
    source: Path,
    target: Path,
    overwrite: bool,
    file_format: Optional[str],
    step: Optional[str],
) -> tuple[Counts, int]:
    """Write a model in a format of meshio; return what was written, and its size in bytes.

    Formats hold one step, XDMF holds all. By default the last step is written.

    Raises
    ------
    ConversionError
        The model is damaged, has no such step or does not fit the format.
    OSError
        A file cannot be opened or written.
    """
    chosen = file_format or format_for_writing(target)
    try:
        with open_file(source) as file, _replaced_together(target, source, overwrite) as folder:
            with _captured() as output:
                counts = _write(file, folder / target.name, chosen, step)
            counts.warnings += warnings_of(output.getvalue())
            return counts, sum(path.stat().st_size for path in folder.iterdir())
    except FormatError as error:
        raise ConversionError(str(error)) from error


def _write(file: File, target: Path, file_format: str, step: Optional[str]) -> Counts:
    steps: list[str] = file.steps
    warnings: list[str] = []
    if step is not None:
        if step not in steps:
            raise ConversionError(f"the file has no step {step!r}")
        steps = [step]
    elif file_format != "xdmf" and len(steps) > 1:
        warnings.append(f"only the last of {len(steps)} steps is written: {steps[-1]!r}")
        steps = steps[-1:]
    mesh = file.to_meshio(steps[-1] if steps else None)
    warnings += _losses(mesh, file_format)
    results = len(mesh.point_data) + len(mesh.cell_data)
    elements = sum(len(block) for block in mesh.cells)
    _adapt(mesh, file_format)
    try:
        if file_format == "xdmf" and len(steps) > 1:
            _write_time_series(file, target, mesh)
        else:
            meshio.write(target, mesh, file_format=file_format)
    except (ConversionError, FormatError, MemoryError, ModuleNotFoundError, OSError):
        raise
    except Exception as error:  # each writer has its own ways to refuse a mesh
        words = f"{type(error).__name__}: {error}"
        reason = f"meshio cannot write this mesh as {file_format} ({words})"
        raise ConversionError(reason) from error
    shapes = len(file.shapes)
    return Counts(len(mesh.points), elements, shapes, results, len(steps), 0, warnings)


def _losses(mesh: meshio.Mesh, file_format: str) -> list[str]:
    """Return a warning for each kind of data that the format does not hold.

    Raises
    ------
    ConversionError
        The writer would leave out cells.
    """
    only = _ONLY_CELLS.get(file_format)
    other = [block.type for block in mesh.cells if only is not None and block.type != only]
    if other:
        raise ConversionError(f"meshio cannot write cells of type {other[0]} as {file_format}")
    found = {kind: getattr(mesh, kind.replace(" ", "_")) for kind in _LEFT_OUT.get(file_format, ())}
    return [
        f"{kind} left out, which {file_format} does not hold: {', '.join(map(repr, names))}"
        for kind, names in found.items()
        if names
    ]


def _adapt(mesh: meshio.Mesh, file_format: str) -> None:
    """Change what the writers of meshio expect in another form."""
    if file_format.startswith("vt"):
        reverse_wedges(mesh)
    if file_format.startswith("gmsh"):
        _name_physical_groups(mesh)
        _change_values(mesh, _full_tensors)
    if file_format == "med":  # has no arrays of other types
        _change_values(mesh, lambda values: np.asarray(values, np.float64))


def _change_values(mesh: meshio.Mesh, change: Callable[[NDArray[Any]], NDArray[Any]]) -> None:
    for name, values in mesh.point_data.items():
        mesh.point_data[name] = change(values)
    for name, blocks in mesh.cell_data.items():
        mesh.cell_data[name] = [change(values) for values in blocks]


def _full_tensors(values: NDArray[Any]) -> NDArray[Any]:
    """Return all nine components of symmetric tensors, row by row; Gmsh has no others."""
    is_symmetric = values.shape[1:] == (6,)
    return values[:, [0, 3, 5, 3, 1, 4, 5, 4, 2]] if is_symmetric else values


def _name_physical_groups(mesh: meshio.Mesh) -> None:
    """Write the first set that contains all cells of a block as physical group of Gmsh."""
    tags = [0] * len(mesh.cells)
    for tag, (name, blocks) in enumerate(mesh.cell_sets.items(), 1):
        for index, (block, members) in enumerate(zip(mesh.cells, blocks)):
            if len(members) == len(block) and tags[index] == 0:
                tags[index] = tag
                mesh.field_data[name] = np.array([tag, block.dim])
    sizes = [len(block) for block in mesh.cells]
    if any(tags):
        of_cells = [np.full(size, tag, np.int32) for size, tag in zip(sizes, tags)]
        mesh.cell_data["gmsh:physical"] = of_cells
        mesh.cell_data["gmsh:geometrical"] = [each.copy() for each in of_cells]


class _Writer(TimeSeriesWriter):  # type: ignore[misc]
    """Writes the HDF5 file beside the XDMF file instead of in the working directory."""

    def __enter__(self) -> _Writer:
        import h5py

        self.h5_filename = str(self.filename.with_suffix(".h5"))
        self.h5_file = h5py.File(self.h5_filename, "w")
        return self


def _write_time_series(file: File, target: Path, last: meshio.Mesh) -> None:
    times = file.times
    with _Writer(target) as writer:
        writer.write_points_cells(last.points, last.cells)
        for step in sorted(times, key=times.__getitem__):
            mesh = file.to_meshio(step)
            if not is_same(mesh, last):
                raise ConversionError("the mesh changes with the steps; choose one with --step")
            writer.write_data(times[step], mesh.point_data, mesh.cell_data)


@contextlib.contextmanager
def _captured() -> Iterator[io.StringIO]:
    output = io.StringIO()
    with contextlib.redirect_stdout(output), contextlib.redirect_stderr(output):
        yield output


@contextlib.contextmanager
def _replaced_together(path: Path, source: Path, overwrite: bool) -> Iterator[Path]:
    """Provide a folder whose files replace those beside ``path`` at the end of the block.

    Some formats consist of several files, which refer to each other by name.
    """
    check_replaceable(path, source, overwrite)
    parent = path.resolve().parent
    with tempfile.TemporaryDirectory(prefix=f"{path.name}.", suffix=".part", dir=parent) as folder:
        yield Path(folder)
        files: list[Any] = sorted(Path(folder).iterdir())
        for file in files:
            check_replaceable(parent / file.name, source, overwrite)
        for file in files:
            file.replace(parent / file.name)
