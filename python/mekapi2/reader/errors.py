"""Errors of the reader. Errors of the system, such as `FileNotFoundError`, are not converted."""

from __future__ import annotations

from typing import Optional

__all__ = ["CircularLinkError", "FormatError", "UnfinishedError"]


class FormatError(ValueError):
    """The file violates the format.

    Attributes
    ----------
    reason : str
        The violation, without its place.
    block : int or None
        Number of the block.
    stream : str or None
        Name of the stream.
    offset : int or None
        Offset in the stream, in uncompressed bytes; without a stream, in the file.
    """

    def __init__(
        self,
        reason: str,
        *,
        block: Optional[int] = None,
        stream: Optional[str] = None,
        offset: Optional[int] = None,
    ) -> None:
        self.reason = reason
        self.block = block
        self.stream = stream
        self.offset = offset
        place = self._place()
        super().__init__(f"{place}: {reason}" if place else reason)

    def _place(self) -> str:
        quoted = "" if self.stream is None else f'"{self.stream}"'
        if self.block is not None:
            return f"block {self.block} ({quoted})" if quoted else f"block {self.block}"
        if self.offset is None:
            return quoted
        return f"{quoted or 'file'} at byte {self.offset}"


class UnfinishedError(FormatError):
    """The writer did not close the file, so that its index is missing or incomplete."""

    def __init__(self, reason: str, *, block: Optional[int] = None) -> None:
        super().__init__(reason, block=block)

    def __str__(self) -> str:
        detail = super().__str__()
        return f"file is unfinished: {detail}; the program mekrecover may save its content"


class CircularLinkError(FormatError):
    """The links of a variable form a circle, so that it has no array. The file is valid."""
