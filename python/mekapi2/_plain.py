"""Turns what a caller gives into the plain values that the extension module takes.

A value that does not fit is refused here, by its name, rather than cut or wrapped around.
"""

from __future__ import annotations

import enum
import math
import numbers
import operator
import os
from collections.abc import Iterable, Mapping, Sequence
from typing import Any, Optional, SupportsFloat, SupportsIndex, Type, TypeVar, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .enumerations import DatasetType, PropertyType

AttributeValue = Union[str, bool, SupportsIndex, SupportsFloat]
PropertyValue = Union[bool, SupportsFloat, Sequence[SupportsFloat], NDArray[Any]]

_largest_word = 0xFFFFFFFF
_largest_float = float(np.finfo(np.float32).max)
_largest_text = 256

_vectors = {kind for kind in PropertyType if kind <= PropertyType.AmbientColor}

_Enum = TypeVar("_Enum", bound=enum.IntEnum)


def path(given: Union[str, bytes]) -> Union[str, bytes]:
    """A path in the form that the system takes."""
    text = os.fsdecode(given)
    if not text:
        raise ValueError("the path is empty")
    if "\0" in text:
        raise ValueError("the path holds a zero character")
    return text if os.name == "nt" else os.fsencode(given)


def member(kind: Type[_Enum], given: Union[_Enum, str, int]) -> _Enum:
    """An enumerator given by itself, its number or its name (``diffuse_color`` will do)."""
    if not isinstance(given, str):
        return kind(given)
    plain = given.replace("_", "").lower()
    for candidate in kind:
        if candidate.name.lower() == plain:
            return candidate
    raise ValueError(f"{given!r} is none of {', '.join(kind.__members__)}")


def node_id(given: SupportsIndex) -> int:
    number = operator.index(given)
    if not 0 <= number <= _largest_word:
        raise ValueError(f"{number} is not a node id: it has more than 32 bits or a sign")
    return number


def node_ids(given: Union[SupportsIndex, Iterable[SupportsIndex]]) -> list[int]:
    if isinstance(given, SupportsIndex) and not isinstance(given, np.ndarray):
        return [node_id(given)]
    return [node_id(number) for number in given]


def attributes(given: Optional[Mapping[str, AttributeValue]]) -> dict[str, Union[int, float, str]]:
    return {key: _attribute(key, value) for key, value in (given or {}).items()}


def _attribute(key: str, value: AttributeValue) -> Union[int, float, str]:
    if isinstance(value, str):
        if len(value.encode()) > _largest_text or "\0" in value:
            raise ValueError(
                f"attribute {key!r}: a text has at most {_largest_text} bytes, none of them zero"
            )
        return value
    if isinstance(value, (numbers.Integral, np.bool_)):
        number = int(value)
        if not 0 <= number <= _largest_word:
            raise ValueError(f"attribute {key!r}: {number} is not in 0 to {_largest_word}")
        return number
    if isinstance(value, numbers.Real):
        real = float(value)
        if math.isfinite(real) and abs(real) > _largest_float:
            raise ValueError(f"attribute {key!r}: {real} is too large for a 32-bit float")
        return real
    raise TypeError(f"attribute {key!r}: a text or a number is needed, not {value!r}")


def properties(
    given: Optional[Mapping[Union[PropertyType, str, int], PropertyValue]]
) -> dict[int, Union[bool, float, list[float]]]:
    plain = {}
    for key, value in (given or {}).items():
        kind = member(PropertyType, key)
        plain[int(kind)] = _property(kind, value)
    return plain


def _property(kind: PropertyType, value: Any) -> Union[bool, float, list[float]]:
    if kind in _vectors:
        if isinstance(value, (str, bytes)) or not isinstance(value, Iterable):
            raise TypeError(f"{kind.name} takes a list of numbers, not {value!r}")
        return [float(number) for number in value]
    if kind is PropertyType.MaterialFlag:
        if not isinstance(value, (bool, np.bool_)):
            raise TypeError(f"{kind.name} takes True or False, not {value!r}")
        return bool(value)
    if not isinstance(value, numbers.Real):
        raise TypeError(f"{kind.name} takes a number, not {value!r}")
    return float(value)


def array(kind: DatasetType, given: ArrayLike) -> NDArray[Any]:
    """An array of one or two dimensions and native numbers; a copy only if it cannot be helped."""
    if isinstance(given, np.ma.MaskedArray) and np.any(given.mask):
        raise ValueError("the array has masked values; fill them first, for example with NaN")
    values = np.asarray(given)
    if values.dtype.kind not in "biuf":
        raise TypeError(f"an array of numbers is needed, not of {values.dtype}")
    if values.ndim not in (1, 2):
        raise ValueError(f"an array of one or two dimensions is needed, not of {values.ndim}")
    width = 1 if values.ndim == 1 else values.shape[1]
    if len(values) > 0 and width != kind.width:
        needed = "(n,)" if kind.width == 1 else f"(n, {kind.width})"
        raise ValueError(f"{kind.name} takes the shape {needed}, not {values.shape}")
    if values.dtype == np.float16:
        return values.astype(np.float32)
    return values if values.dtype.isnative else values.astype(values.dtype.newbyteorder("="))
