"""Names that do not clash and can be kept."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any

separator = "\x1e"
"""Between the names of a path, and in the file between those of a result and a step."""


def plain_name(text: str) -> str:
    """A name that can be part of a path and is sound UTF-8."""
    return text.encode(errors="replace").decode().replace(separator, " ") or "unnamed"


class Names:
    """Gives each thing a name of its own, the same whenever it is asked for."""

    def __init__(self, reserved: Sequence[str] = ()) -> None:
        self._taken = set(reserved)
        self._given: dict[Any, str] = {}

    def of(self, thing: Any, wanted: str) -> str:
        known = self._given.get(thing)
        if known is not None:
            return known
        base = plain_name(wanted)
        name, number = base, 1
        while name in self._taken:
            number += 1
            name = f"{base} ({number})"
        self._taken.add(name)
        self._given[thing] = name
        return name
