"""The exceptions of the library.

`InexactConversion` is a `ValueError`. All others derive from `Error`. Each also derives from a
built-in exception, so that for example ``except OSError`` or ``except KeyError`` catches it. An
error of the system has its ``errno``, ``strerror`` and ``filename``. Failed allocations raise
`MemoryAllocationException` for blocks and `MemoryError` otherwise. Arguments of an invalid type or
range raise `TypeError` or `ValueError`.
"""

from __future__ import annotations

import builtins
import errno
import os
from typing import NamedTuple, Optional, Type

__all__ = [
    "Error",
    "FileOpenException",
    "FileWriteException",
    "InexactConversion",
    "InvalidArguments",
    "InvalidObjectState",
    "KeyNotFound",
    "Location",
    "MemoryAllocationException",
    "MiscelleneousException",
    "NotYetImplemented",
    "OutOfBounds",
    "TemplateSpecializationNotDefined",
    "UnderflowError",
]


class Location(NamedTuple):
    """Function, file and line of the library that raised an exception."""

    function: Optional[str]
    file: Optional[str]
    line: Optional[int]


class Error(Exception):
    """Base class of the exceptions of the library.

    Attributes
    ----------
    code : int
        Number of the exception class.
    location : Location or None
        Where the library raised the exception; None if the Python package raised it.
    """

    code: int = 1
    location: Optional[Location] = None

    def __str__(self) -> str:
        if isinstance(self, OSError) and self.errno is not None:
            return OSError.__str__(self)
        return str(self.args[0]) if self.args else ""


class MiscelleneousException(Error, OSError):
    """Any other error, such as a file that cannot be opened."""

    code = 2


class FileNotFoundError(MiscelleneousException, builtins.FileNotFoundError):
    """The folder of the file does not exist."""


class PermissionError(MiscelleneousException, builtins.PermissionError):
    """The file must not be written."""


class IsADirectoryError(MiscelleneousException, builtins.IsADirectoryError):
    """The path is that of a folder."""


class NotADirectoryError(MiscelleneousException, builtins.NotADirectoryError):
    """A part of the path is no folder."""


class InvalidArguments(Error, ValueError):
    """An invalid argument."""

    code = 3


class FileOpenException(Error, FileExistsError):
    """The file or its journal exists and ``overwrite`` is false, or the path is unsuitable."""

    code = 5


class FileWriteException(Error, OSError):
    """Writing to the file or seeking in it failed."""

    code = 7


class OutOfBounds(Error, IndexError):
    """A number out of range, such as an unknown node id."""

    code = 11


class OverflowError(Error, builtins.OverflowError):
    """A size exceeds the limit of its field in the file."""

    code = 12


class UnderflowError(Error, ArithmeticError):
    """A size below zero."""

    code = 13


class KeyNotFound(Error, KeyError):
    """A look-up found nothing."""

    code = 14


class MemoryAllocationException(Error, MemoryError):
    """Memory for a block cannot be allocated."""

    code = 16


class InvalidObjectState(Error, RuntimeError):
    """The operation is invalid in the state of the object, for example because no file is open."""

    code = 17


class TemplateSpecializationNotDefined(Error, TypeError):
    """The property or attribute does not accept values of this type."""

    code = 19


class NotYetImplemented(Error, NotImplementedError):
    """The feature is not implemented."""

    code = 20


class InexactConversion(ValueError):
    """An array holds a value that the file cannot hold.

    Raised before anything is written.

    Attributes
    ----------
    index : tuple of int
        Position of the first such value in the array.
    """

    def __init__(self, message: str, index: tuple[int, ...]) -> None:
        super().__init__(message)
        self.index = index


_by_code: dict[int, Type[Error]] = {kind.code: kind for kind in Error.__subclasses__()}

_existing = {"File exists.", "Journal exists."}

_by_errno: dict[int, Type[Error]] = {
    errno.ENOENT: FileNotFoundError,
    errno.EACCES: PermissionError,
    errno.EPERM: PermissionError,
    errno.EISDIR: IsADirectoryError,
    errno.ENOTDIR: NotADirectoryError,
}


def _from_library(
    code: int,
    message: str,
    function: Optional[str],
    file: Optional[str],
    line: Optional[int],
    reason: Optional[int],
) -> Error:
    kind = _by_code.get(code, Error)
    if kind is MiscelleneousException and reason:
        kind = _by_errno.get(reason, kind)
    if message in _existing:
        error = kind(errno.EEXIST, message.rstrip("."))
    else:
        error = kind(reason, os.strerror(reason)) if reason else kind(message)
    if function is not None:
        error.location = Location(function, file, line)
    return error
