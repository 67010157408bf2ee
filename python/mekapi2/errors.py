"""The failures of the library as Python exceptions.

All of them derive from `Error`, and each from the built-in exception that says the same, so that
``except OSError`` or ``except KeyError`` works as anywhere else. Two failures have no class of
their own here: memory that cannot be had arrives as `MemoryAllocationException` or plain
`MemoryError`, and a Python value of the wrong type or range as `TypeError` or `ValueError`.
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
    """The place in the library where a failure was raised."""

    function: Optional[str]
    file: Optional[str]
    line: Optional[int]


class Error(Exception):
    """A failure that the library raised."""

    code: int = 1
    """Number of the failure class."""

    location: Optional[Location] = None
    """Function signature, source file and line in the library."""

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ""


class MiscelleneousException(Error, OSError):
    """A failure that no other class describes, above all a file that cannot be opened."""

    code = 2


class InvalidArguments(Error, ValueError):
    """An argument that the operation cannot take."""

    code = 3


class FileOpenException(Error, FileExistsError):
    """The file exists and may not be replaced."""

    code = 5


class FileWriteException(Error, OSError):
    """The system refused bytes or a position in the file."""

    code = 7


class OutOfBounds(Error, IndexError):
    """A number outside the range that exists, such as an unknown node id."""

    code = 11


class OverflowError(Error, builtins.OverflowError):
    """A size above what a field of the file can hold."""

    code = 12


class UnderflowError(Error, ArithmeticError):
    """A size below zero."""

    code = 13


class KeyNotFound(Error, KeyError):
    """A look-up that found nothing."""

    code = 14


class MemoryAllocationException(Error, MemoryError):
    """Memory for a block could not be had."""

    code = 16


class InvalidObjectState(Error, RuntimeError):
    """The operation does not fit the state of the object, such as no file being open."""

    code = 17


class TemplateSpecializationNotDefined(Error, TypeError):
    """A value of a kind that the target does not take."""

    code = 19


class NotYetImplemented(Error, NotImplementedError):
    """A place that is reserved for later."""

    code = 20


class InexactConversion(ValueError):
    """An array holds a value that the file cannot hold exactly.

    Raised before anything is written. ``index`` tells where the value stands.
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
