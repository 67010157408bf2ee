"""What a mesh file says about itself, as attributes of the root group."""

from __future__ import annotations

from typing import Any, Union

import numpy as np

from ._naming import Names
from ._source import Source

Attribute = Union[int, float, str]

_largest_field = 64
_largest_text = 256


def root_attributes(source: Source, warnings: list[str]) -> dict[str, Attribute]:
    mesh = source.parts[0].mesh
    attributes: dict[str, Attribute] = {
        "Source format": source.format,
        "Source file": _text(source.path.name),
        "Dimension": mesh.points.shape[1],
    }
    names = Names(list(attributes))
    for name, value in mesh.field_data.items():
        numbers = _flat(value)
        if len(numbers) > _largest_field:
            warnings.append(f"field data {name!r} of {len(numbers)} values: left out")
            continue
        for index, number in enumerate(numbers, 1):
            wanted = name if len(numbers) == 1 else f"{name}.{index}"
            attributes[names.of((name, index), wanted)] = attribute(number)
    return attributes


def _flat(value: Any) -> list[Any]:
    if isinstance(value, (str, bytes)) or np.ndim(value) == 0:
        return [value]
    return [number for row in value for number in _flat(row)]


def attribute(value: Any) -> Attribute:
    if isinstance(value, bytes):
        return _text(value.decode("utf-8", errors="replace"))
    if isinstance(value, (bool, np.bool_, int, np.integer)) and 0 <= value < 2**32:
        return int(value)
    try:
        return float(np.float32(value))
    except (TypeError, ValueError):
        return _text(str(value))


def _text(text: str) -> str:
    """What fits an attribute, without half a character at the end."""
    return text.split("\0")[0].encode(errors="replace")[:_largest_text].decode(errors="ignore")
