"""The whole way from an input file to an output file."""

from __future__ import annotations

import os
from dataclasses import dataclass
from pathlib import Path
from typing import Optional, Union

from .. import _core
from ..model import Model
from ._output import finished_at
from ._reading import read
from ._writing import Counts, Progress, write


@dataclass
class Summary:
    """What `convert` did."""

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
    """Converts a mesh file of any format that meshio reads.

    :param output: by default the input with the suffix ``.mek``
    :param overwrite: replace an output that exists
    :param file_format: meshio's name of the input's format; by default the suffix tells
    :param progress: called with the numbers of steps done and of all steps
    :raises ConversionError: the input cannot be read, or the output is not to be replaced
    :raises Error: the output cannot be written

    After a failure there is no output file, or the one that was there before.
    """
    source_path = Path(input)
    target = Path(output) if output is not None else source_path.with_suffix(".mek")
    with finished_at(target, source_path, overwrite) as unfinished:
        source = read(source_path, file_format)
        with Model.create(
            unfinished, overwrite=True, tool_name="mekapi2.convert", tool_version=_core.version
        ) as model:
            counts = write(model, source, progress)
    return Summary(source_path, target, counts, source.byte_count, target.stat().st_size)
