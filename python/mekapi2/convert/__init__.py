"""Converts mesh files of all formats that meshio reads.

Use ``python3 -m mekapi2.convert INPUT [OUTPUT.mek]`` on the command line, `convert` in a program.
"""

from __future__ import annotations

import contextlib
import os
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Optional, Union

from .. import _core
from ..model import Model
from ._reading import read
from ._source import ConversionError
from ._writing import Counts, Progress, write

__all__ = ["ConversionError", "Summary", "convert"]


@dataclass
class Summary:
    """The result of `convert`.

    Attributes
    ----------
    input, output : Path
    counts : Counts
        Numbers of nodes, elements, shapes, results, steps and rounded arrays, and the warnings.
    bytes_in, bytes_out : int
        Sizes of the input, including all files of a collection, and of the output.
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
    progress: Optional[Progress] = None,
) -> Summary:
    """Convert a mesh file of any format that meshio reads.

    The output is written to ``OUTPUT.part`` and renamed when it is complete. If an exception is
    raised, ``OUTPUT`` is unchanged.

    Parameters
    ----------
    input : str or path-like
    output : str or path-like, optional
        By default the input with the suffix ``.mek``.
    overwrite : bool
        Replace an existing output.
    file_format : str, optional
        meshio's name of the input format. By default it follows from the suffix.
    progress : callable, optional
        Called after each step with the number of steps written and the total.

    Returns
    -------
    Summary

    Raises
    ------
    ConversionError
        The input cannot be read, or the output must not be replaced.
    Error
        The output cannot be written.
    OSError
        The complete output cannot be renamed.
    """
    source_path = Path(input)
    target = Path(output) if output is not None else source_path.with_suffix(".mek")
    with _replaced_when_complete(target, source_path, overwrite) as unfinished:
        source = read(source_path, file_format)
        with Model(
            unfinished, overwrite=True, tool_name="mekapi2.convert", tool_version=_core.version
        ) as model:
            counts = write(model, source, progress)
    return Summary(source_path, target, counts, source.byte_count, target.stat().st_size)


@contextlib.contextmanager
def _replaced_when_complete(path: Path, source: Path, overwrite: bool) -> Iterator[Path]:
    """Provide a temporary path, which replaces ``path`` at the end of the block.

    If the block raises an exception, the temporary file is removed and ``path`` is unchanged.

    Raises
    ------
    ConversionError
        ``path`` is not a regular file, is the same file as ``source``, or exists and ``overwrite``
        is false.
    """
    target = path.resolve()
    if target.exists():
        if not target.is_file():
            raise ConversionError(f"{path} is not a regular file")
        if source.exists() and target.samefile(source):
            raise ConversionError("input and output are the same file")
        if not overwrite:
            raise ConversionError(f"{path} exists; use --overwrite to replace it")
    unfinished = target.with_name(f"{target.name}.part")
    try:
        yield unfinished
        os.replace(unfinished, target)
    except BaseException:
        with contextlib.suppress(OSError):
            unfinished.unlink()
        raise
