"""The file that is being written, under a name of its own until it is complete."""

from __future__ import annotations

import contextlib
import os
from collections.abc import Iterator
from pathlib import Path

from ._errors import ConversionError


@contextlib.contextmanager
def finished_at(path: Path, source: Path, overwrite: bool) -> Iterator[Path]:
    """Gives the path to write to, and what was written its own name when the block is left.

    Left by an exception, what was written is removed. What stood at ``path`` before is left alone
    until the end.
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
