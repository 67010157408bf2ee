"""What goes wrong with an input."""

from __future__ import annotations

import contextlib
from collections.abc import Iterator


class ConversionError(Exception):
    """The input cannot be read, or holds something that cannot be kept."""


@contextlib.contextmanager
def told_as_conversion_error(what: str) -> Iterator[None]:
    """Readers of broken files fail in many ways; all of them mean the same."""
    try:
        yield
    except (ConversionError, MemoryError):
        raise
    except Exception as error:
        raise ConversionError(f"{what}: {type(error).__name__}: {error}") from error
