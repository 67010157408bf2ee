"""Writes an output under a temporary name, so that it is complete or unchanged."""

from __future__ import annotations

import contextlib
import errno
import os
import secrets
import stat
from collections.abc import Iterator
from pathlib import Path
from typing import Optional

from ._source import ConversionError


@contextlib.contextmanager
def replaced_when_complete(path: Path, source: Path, overwrite: bool) -> Iterator[Path]:
    """Provide the path of a new file, which replaces ``path`` at the end of the block.

    The permission bits of a file that is replaced are kept. If the block raises an exception, the
    new file is removed and ``path`` is unchanged.

    Raises
    ------
    ConversionError
        ``path`` is not a regular file, is the same file as ``source``, or exists and ``overwrite``
        is false.
    OSError
        The file cannot be created or renamed.
    """
    if str(path) == "-":
        raise ConversionError("needs a regular file, not standard output", path)
    target = path.resolve()
    mode = check_replaceable(path, source, overwrite)
    unfinished = target.with_name(f"{target.name}.{secrets.token_hex(4)}.part")
    try:
        os.close(os.open(unfinished, os.O_CREAT | os.O_EXCL | os.O_WRONLY, 0o666))
        try:
            yield unfinished
            if mode is not None:
                unfinished.chmod(mode)
            os.replace(unfinished, target)
        except BaseException:
            with contextlib.suppress(OSError):
                unfinished.unlink()
            raise
    except OSError as error:
        if error.filename2 is not None:  # renaming
            raise OSError(error.errno, error.strerror, str(path)) from error
        if str(error.filename) == str(unfinished):
            error.filename = str(path)
        raise


def check_replaceable(path: Path, source: Path, overwrite: bool) -> Optional[int]:
    """Return the permission bits of the file at ``path``, or None if there is none.

    Raises
    ------
    ConversionError
        ``path`` is not a regular file, is the same file as ``source``, or exists and ``overwrite``
        is false.
    OSError
        ``path`` is a folder.
    """
    target = path.resolve()
    try:
        status = target.stat()
    except FileNotFoundError:
        return None
    if stat.S_ISDIR(status.st_mode):
        raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), str(path))
    if not stat.S_ISREG(status.st_mode):
        raise ConversionError("needs a regular file", path)
    if target.samefile(source):
        raise ConversionError("is the input itself", path)
    if not overwrite:
        raise ConversionError("exists; use --overwrite to replace it", path)
    return stat.S_IMODE(status.st_mode)
