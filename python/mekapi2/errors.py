"""The exceptions of the library.

All derive from `Error`. Each also derives from a built-in exception, so that for example
``except OSError`` or ``except KeyError`` catches it. Failed allocations raise
`MemoryAllocationException` for blocks and `MemoryError` otherwise. Arguments of an invalid type or
range raise `TypeError` or `ValueError`.
"""

from __future__ import annotations

import builtins
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
    "OverflowError",
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
        Where the library raised the exception.
    """

    code: int = 1
    location: Optional[Location] = None

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""


class MiscelleneousException(Error, OSError):
    """Any other error, such as a file that cannot be opened."""

    code = 2


class InvalidArguments(Error, ValueError):
    """An invalid argument."""

    code = 3


class FileOpenException(Error, FileExistsError):
    """The file exists and ``overwrite`` is false."""

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
    """An array holds a value that the file cannot hold exactly.

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


def _from_library(
    code: int, message: str, function: Optional[str], file: Optional[str], line: Optional[int]
) -> Error:
    error = _by_code.get(code, Error)(message)
    error.location = Location(function, file, line)
    return error
