"""Converts arguments of `Model` to the basic types that the extension module accepts.

Values out of range raise an exception here; they are never truncated.
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
_max_string_bytes = 256

_vectors = {kind for kind in PropertyType if kind <= PropertyType.AmbientColor}

_Enum = TypeVar("_Enum", bound=enum.IntEnum)


def path(given: Union[str, bytes]) -> Union[str, bytes]:
    """Return a path as bytes, or as a string on Windows.

    Raises
    ------
    ValueError
        The path is empty or contains a zero character.
    """
    decoded = os.fsdecode(given)
    if not decoded:
        raise ValueError("the path is empty")
    if "\0" in decoded:
        raise ValueError("the path contains a zero character")
    return decoded if os.name == "nt" else os.fsencode(given)


def member(kind: Type[_Enum], given: Union[_Enum, str, int]) -> _Enum:
    """Return the member of an enumeration.

    Parameters
    ----------
    kind : enumeration type
    given : member, int or str
        A string is a name, compared without case and underscores.

    Raises
    ------
    ValueError
        There is no such member.
    """
    if not isinstance(given, str):
        return kind(given)
    plain = given.replace("_", "").lower()
    for candidate in kind:
        if candidate.name.lower() == plain:
            return candidate
    raise ValueError(f"{given!r} is not one of {', '.join(kind.__members__)}")


def node_id(given: SupportsIndex) -> int:
    """Return an id. Raises `ValueError` unless it is from 0 to 2**32 - 1."""
    number = operator.index(given)
    if not 0 <= number <= _largest_word:
        raise ValueError(f"node id {number} is not in 0 to {_largest_word}")
    return number


def node_ids(given: Union[SupportsIndex, Iterable[SupportsIndex]]) -> list[int]:
    """Return one id or several as a list. Raises `ValueError` for an id out of range."""
    if isinstance(given, SupportsIndex) and not isinstance(given, np.ndarray):
        return [node_id(given)]
    return [node_id(number) for number in given]


def attributes(given: Optional[Mapping[str, AttributeValue]]) -> dict[str, Union[int, float, str]]:
    """Return attributes as integers, floats and strings.

    Raises
    ------
    TypeError
        A value is neither a string nor a number.
    ValueError
        A string is longer than 256 bytes or contains a zero byte, an integer is not in 0 to
        2**32 - 1, or a float is too large for 32 bits.
    """
    return {key: _attribute(key, value) for key, value in (given or {}).items()}


def _attribute(key: str, value: AttributeValue) -> Union[int, float, str]:
    if isinstance(value, str):
        if len(value.encode()) > _max_string_bytes or "\0" in value:
            raise ValueError(
                f"attribute {key!r}: a string has at most {_max_string_bytes} bytes, without zero"
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
    raise TypeError(f"attribute {key!r}: expected a string or a number, not {value!r}")


def properties(
    given: Optional[Mapping[Union[PropertyType, str, int], PropertyValue]]
) -> dict[int, Union[bool, float, list[float]]]:
    """Return node properties as lists of floats, floats and booleans.

    Raises
    ------
    TypeError
        A value does not have the type of its property.
    ValueError
        There is no such property, or an element is not a number.
    """
    plain = {}
    for key, value in (given or {}).items():
        kind = member(PropertyType, key)
        plain[int(kind)] = _property(kind, value)
    return plain


def _property(kind: PropertyType, value: Any) -> Union[bool, float, list[float]]:
    if kind in _vectors:
        if isinstance(value, (str, bytes)) or not isinstance(value, Iterable):
            raise TypeError(f"{kind.name} expects a sequence of numbers, not {value!r}")
        return [float(number) for number in value]
    if kind is PropertyType.MaterialFlag:
        if not isinstance(value, (bool, np.bool_)):
            raise TypeError(f"{kind.name} expects True or False, not {value!r}")
        return bool(value)
    if not isinstance(value, numbers.Real):
        raise TypeError(f"{kind.name} expects a number, not {value!r}")
    return float(value)


def array(kind: DatasetType, given: ArrayLike) -> NDArray[Any]:
    """Return a numeric array of one or two dimensions in native byte order.

    Arrays of float16 or foreign byte order are copied.

    Parameters
    ----------
    kind : DatasetType
    given : array-like, shape (n,) or (n, kind.width)

    Raises
    ------
    TypeError
        The elements are not integers, booleans or real floating-point numbers.
    ValueError
        The shape does not fit ``kind``, or values are masked.
    """
    if isinstance(given, np.ma.MaskedArray) and np.any(given.mask):
        raise ValueError("the array has masked values; replace them first, for example by NaN")
    values = np.asarray(given)
    if values.dtype.kind not in "biuf":
        raise TypeError(f"expected an array of real numbers, not of {values.dtype}")
    if values.ndim not in (1, 2):
        raise ValueError(f"expected an array of one or two dimensions, not of {values.ndim}")
    width = 1 if values.ndim == 1 else values.shape[1]
    if len(values) > 0 and width != kind.width:
        expected = "(n,)" if kind.width == 1 else f"(n, {kind.width})"
        raise ValueError(f"{kind.name} expects the shape {expected}, not {values.shape}")
    if values.dtype == np.float16:
        return values.astype(np.float32)
    return values if values.dtype.isnative else values.astype(values.dtype.newbyteorder("="))
