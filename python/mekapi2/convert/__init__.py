"""Converts mesh files of all formats that meshio reads, and models to formats that it writes.

Use ``python3 -m mekapi2.convert INPUT [OUTPUT]`` on the command line, `convert` in a program.
"""

from __future__ import annotations

import errno
import os
import stat
from dataclasses import dataclass
from pathlib import Path
from typing import TYPE_CHECKING, Optional, Union

from .. import _core
from ..model import Model
from ._source import ConversionError

if TYPE_CHECKING:
    import meshio

    from ._writing import Counts, Progress

__all__ = ["ConversionError", "Summary", "convert", "write_mesh"]

_SUFFIX = ".mek"


@dataclass
class Summary:
    """The result of `convert`.

    Attributes
    ----------
    input, output : Path
    counts : Counts
        Numbers of nodes, elements, shapes, results, steps and rounded arrays, and the warnings.
    bytes_in, bytes_out : int
        Sizes of input and output, including all files that they refer to.
    """

    input: Path
    output: Path
    counts: Counts
    bytes_in: int
    bytes_out: int


def convert(
    input: Union[str, os.PathLike[str]],
    output: Union[None, str, os.PathLike[str]] = None,
    *,
    overwrite: bool = False,
    file_format: Optional[str] = None,
    keep_blocks: bool = False,
    step: Optional[str] = None,
    progress: Optional[Progress] = None,
) -> Summary:
    """Convert a mesh file of any format that meshio reads, or a model to one that it writes.

    An input with the suffix ``.mek`` is a model. The output is written under a temporary name and
    renamed when it is complete. If an exception is raised, ``OUTPUT`` is unchanged.

    Parameters
    ----------
    input : str or path-like
    output : str or path-like, optional
        By default the input with the suffix ``.mek``; required for a model.
    overwrite : bool
        Replace an existing output; its permission bits are kept.
    file_format : str, optional
        meshio's name of the format of the mesh file. By default it follows from the suffix.
    keep_blocks : bool
        Write one shape for each cell block of meshio, such as each entity of Gmsh, instead of one
        for each region and element type.
    step : str, optional
        The step of a model to write. By default the last one; all steps if the output is XDMF.
    progress : callable, optional
        Called after each step with the number of steps written and the total.

    Returns
    -------
    Summary

    Raises
    ------
    ConversionError
        The input is damaged or not supported, or the output must not be replaced.
    Error, OSError
        The input cannot be opened, or the output cannot be written.
    ModuleNotFoundError
        meshio is not installed.
    """
    from ._reading import check_readable, read  # not at the top: these modules need meshio
    from ._writing import write

    source_path = Path(input)
    check_readable(source_path)
    if source_path.suffix.lower() == _SUFFIX:
        return _convert_model(source_path, output, overwrite, file_format, step)
    target = Path(output) if output is not None else source_path.with_suffix(".mek")
    check_replaceable(target, source_path, overwrite)
    with Model(
        target,
        overwrite=overwrite,
        tool_name="mekapi2.convert",
        tool_version=_core.version,
        replace_when_complete=True,
        threads=0,
    ) as model:
        source = read(source_path, file_format, keep_blocks)
        counts = write(model, source, progress)
    return Summary(source_path, target, counts, source.byte_count, target.stat().st_size)


def _convert_model(
    source: Path,
    output: Union[None, str, os.PathLike[str]],
    overwrite: bool,
    file_format: Optional[str],
    step: Optional[str],
) -> Summary:
    from ._exporting import export

    if output is None:
        raise ConversionError("the input is a model; give the output")
    target = Path(output)
    counts, byte_count = export(source, target, overwrite, file_format, step)
    return Summary(source, target, counts, source.stat().st_size, byte_count)


def write_mesh(path: Path, mesh: meshio.Mesh) -> None:
    """Write a mesh of meshio as `convert` does. An existing file is replaced.

    Parameters
    ----------
    path : Path
    mesh : meshio.Mesh

    Raises
    ------
    ConversionError
        The mesh is inconsistent or cannot be represented.
    Error
        The file cannot be written.
    """
    from ._reading import source_of_mesh
    from ._writing import write

    source = source_of_mesh(path, mesh)
    with Model(
        path, overwrite=True, tool_name="mekapi2.convert", tool_version=_core.version, threads=0
    ) as model:
        write(model, source)


def check_replaceable(path: Path, source: Path, overwrite: bool) -> None:
    """Raise an exception if ``path`` must not be written.

    Raises
    ------
    ConversionError
        ``path`` is not a regular file, is the same file as ``source``, or exists and ``overwrite``
        is false.
    OSError
        ``path`` is a folder or is below a file.
    """
    if str(path) == "-":
        raise ConversionError("needs a regular file, not standard output", path)
    try:
        status = path.stat()
    except FileNotFoundError:
        return
    if stat.S_ISDIR(status.st_mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), str(path))
    if not stat.S_ISREG(status.st_mode):
        raise ConversionError("needs a regular file", path)
    if path.samefile(source):
        raise ConversionError("is the input itself", path)
    if not overwrite:
        raise ConversionError("exists; use --overwrite to replace it", path)
