"""What goes wrong with an input."""

from __future__ import annotations


class ConversionError(Exception):
    """The input cannot be read, or holds something that cannot be kept."""
