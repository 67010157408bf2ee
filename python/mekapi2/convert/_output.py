"""Checks the path of an output."""

from __future__ import annotations

import errno
import os
import stat
from pathlib import Path

from ._source import ConversionError


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
