"""Checks the arguments of `Model` and converts them to the basic types of the extension module.

Values out of range raise an exception here; they are never truncated. Every message names the
argument.
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
from .errors import InexactConversion, InvalidArguments

AttributeValue = Union[str, bool, SupportsIndex, SupportsFloat]
PropertyValue = Union[bool, SupportsFloat, Sequence[SupportsFloat], NDArray[Any]]

_largest_word = 0xFFFFFFFF
_largest_float = float(np.finfo(np.float32).max)
_max_string_bytes = 256
_most_threads = 1024
_not_stored_with_arrays = ("Complex", "Contents", "DataSource", "DataType", "Structure")


class ElementType(enum.IntEnum):
    """The type of the elements in the file, as `ElementType` in ``arrays.hpp``."""

    Float = 0
    Unsigned = 1
    UnsignedOrFloat = 2


_lengths = {
    PropertyType.Translation: (3,),
    PropertyType.Rotation: (4,),
    PropertyType.Scale: (3,),
    PropertyType.DiffuseColor: (3, 4),
    PropertyType.SpecularColor: (3, 4),
    PropertyType.EmissiveColor: (3,),
    PropertyType.AmbientColor: (3,),
}

_Enum = TypeVar("_Enum", bound=enum.IntEnum)


def _type_of(given: object) -> str:
    return type(given).__name__


def _shown(given: object) -> str:
    """Return a value for a message of one line, or its type if it is long."""
    if isinstance(given, int) and given.bit_length() > 128:  # Python refuses to print some
        return f"an integer of {given.bit_length()} bits"
    text = repr(given)
    return text if len(text) <= 60 and "\n" not in text else _type_of(given)


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
        raise ValueError(f"the path {decoded!r} contains a zero character")
    return decoded if os.name == "nt" else os.fsencode(given)


def string(what: str, given: str) -> str:
    """Return a string that can be encoded.

    Raises
    ------
    TypeError
        ``given`` is not a string.
    ValueError
        It has a character that UTF-8 does not encode.
    """
    if not isinstance(given, str):
        raise TypeError(f"{what} must be a string, not {_type_of(given)}")
    try:
        given.encode()
    except UnicodeEncodeError as error:
        raise ValueError(f"{what} {given!r} is not valid Unicode: {error.reason}") from None
    return given


def variable_name(what: str, given: str) -> str:
    """Return the name of an array or step. The exceptions are those of `string`.

    Raises
    ------
    ValueError
        The name is empty or contains the character 0x1E, which separates both names in the file.
    """
    if not string(what, given):
        raise ValueError(f"{what} is empty")
    if "\x1e" in given:
        raise ValueError(f"{what} {given!r} contains the character 0x1E")
    return given


def strings(what: str, each: str, given: Iterable[str]) -> list[str]:
    """Return strings as a list. Raises `TypeError` for a single string and for other values."""
    if isinstance(given, str) or not isinstance(given, Iterable):
        raise TypeError(f"{what} must be a list of strings, not {_type_of(given)}")
    return [string(each, element) for element in given]


def flag(what: str, given: bool) -> bool:
    """Return a boolean. Raises `TypeError` for any other value."""
    if not isinstance(given, (bool, np.bool_)):
        raise TypeError(f"{what} must be True or False, not {_type_of(given)}")
    return bool(given)


def thread_count(given: Optional[SupportsIndex]) -> Optional[int]:
    """Return a number of threads, or None for no threads.

    Raises
    ------
    TypeError
        ``given`` is no integer.
    ValueError
        ``given`` is negative or above 1024.
    """
    if given is None:
        return None
    try:
        count = operator.index(given)
    except TypeError:
        raise TypeError(f"threads must be an integer, not {_type_of(given)}") from None
    if not 0 <= count <= _most_threads:
        raise ValueError(f"threads must be 0 to {_most_threads}, not {count}")
    return count


def member(kind: Type[_Enum], given: Union[_Enum, str, int]) -> _Enum:
    """Return the member of an enumeration.

    Parameters
    ----------
    kind : enumeration type
    given : member, int or str
        A string is a name, compared without case and underscores.

    Raises
    ------
    TypeError
        ``given`` is of another type, or a member of another enumeration.
    ValueError
        There is no such member.
    """
    if isinstance(given, str):
        plain = given.replace("_", "").lower()
        for candidate in kind:
            if candidate.name.lower() == plain:
                return candidate
    elif not isinstance(given, SupportsIndex) or isinstance(given, (enum.Enum, np.ndarray, bool)):
        if isinstance(given, kind):
            return given
        raise TypeError(f"expected a {kind.__name__}, its name or its number, not {_shown(given)}")
    elif operator.index(given) in [int(candidate) for candidate in kind]:
        return kind(operator.index(given))
    raise ValueError(f"{_shown(given)} is not a {kind.__name__}: {', '.join(kind.__members__)}")


def node_id(given: SupportsIndex) -> int:
    """Return an id.

    Raises
    ------
    TypeError
        It is not an integer.
    ValueError
        It is not in 0 to 2**32 - 1.
    """
    if not isinstance(given, SupportsIndex) or isinstance(given, np.ndarray):
        raise TypeError(f"a node id must be an integer, not {_type_of(given)}")
    number = operator.index(given)
    if not 0 <= number <= _largest_word:
        raise ValueError(f"node id {_shown(number)} is not in 0 to {_largest_word}")
    return number


def node_ids(given: Union[SupportsIndex, Iterable[SupportsIndex]]) -> list[int]:
    """Return one id or several as a list. The exceptions are those of `node_id`.

    Raises
    ------
    ValueError
        There are no ids.
    """
    if isinstance(given, SupportsIndex) and not isinstance(given, np.ndarray):
        return [node_id(given)]
    if isinstance(given, (str, bytes)) or not isinstance(given, Iterable):
        what = "None" if given is None else _type_of(given)
        raise TypeError(f"ids must be integers, the ids of shapes, not {what}")
    ids = [node_id(number) for number in given]
    if not ids:
        raise ValueError("ids is empty; the array would belong to nothing")
    return ids


def attributes(given: Optional[Mapping[str, AttributeValue]]) -> dict[str, Union[int, float, str]]:
    """Return attributes as integers, floats and strings.

    Raises
    ------
    TypeError
        A key is not a string, or a value is neither a string nor a number.
    ValueError
        A string is longer than 256 bytes or contains a zero byte, an integer is not in 0 to
        2**32 - 1, or a float is too large for 32 bits.
    """
    if given is None:
        return {}
    if not isinstance(given, Mapping):
        raise TypeError(f"attributes must be a dict, not {_type_of(given)}")
    return {string("an attribute's key", key): _attribute(key, given[key]) for key in given}


def array_attributes(
    given: Optional[Mapping[str, AttributeValue]]
) -> dict[str, Union[int, float, str]]:
    """Return `attributes` of an array. Raises `InvalidArguments` for keys that are not stored."""
    plain = attributes(given)
    for key in plain:
        if key in _not_stored_with_arrays or key.startswith("Link."):
            raise InvalidArguments(f"attribute {key!r} is not stored with an array; rename it")
    return plain


def _attribute(key: str, value: AttributeValue) -> Union[int, float, str]:
    what = f"attribute {_shown(key)}"
    if isinstance(value, str):
        if len(string(what, value).encode()) > _max_string_bytes or "\0" in value:
            raise ValueError(
                f"{what}: a string has at most {_max_string_bytes} bytes, without zero"
            )
        return value
    if isinstance(value, (numbers.Integral, np.bool_)):
        number = int(value)
        if not 0 <= number <= _largest_word:
            raise ValueError(f"{what}: {_shown(number)} is not in 0 to {_largest_word}")
        return number
    if isinstance(value, numbers.Real):
        return _real(what, value)
    raise TypeError(f"{what}: expected a string or a number, not {_shown(value)}")


def _real(what: str, value: Any) -> float:
    """Return a float. Raises `ValueError` if it is finite and too large for 32 bits."""
    if not isinstance(value, (numbers.Real, np.bool_)):
        raise TypeError(f"{what}: expected a number, not {_shown(value)}")
    too_large = f"{what}: {_shown(value)} is too large for a 32-bit float"
    try:
        real = float(value)
    except OverflowError:
        raise ValueError(too_large) from None
    if _largest_float < abs(real) < math.inf:
        raise ValueError(too_large)
    return real


def properties(
    given: Optional[Mapping[Union[PropertyType, str, int], PropertyValue]]
) -> dict[int, Union[bool, float, list[float]]]:
    """Return node properties by `PropertyType` as lists of floats, floats and booleans.

    Raises
    ------
    TypeError
        A value does not have the type of its property.
    ValueError
        There is no such property, or a value has an invalid length or is too large.
    """
    if given is None:
        return {}
    if not isinstance(given, Mapping):
        raise TypeError(f"properties must be a dict, not {_type_of(given)}")
    plain: dict[int, Union[bool, float, list[float]]] = {}
    for key, value in given.items():
        kind = member(PropertyType, key)
        plain[kind] = _property(kind, value)
    return plain


def _property(kind: PropertyType, value: Any) -> Union[bool, float, list[float]]:
    if kind in _lengths:
        return _vector(kind, value)
    if kind is PropertyType.MaterialFlag:
        return flag(kind.name, value)
    return _real(kind.name, value)


def _vector(kind: PropertyType, value: Any) -> list[float]:
    lengths = " or ".join(map(str, _lengths[kind]))
    if isinstance(value, (str, bytes)) or not isinstance(value, Iterable):
        raise TypeError(f"{kind.name} takes {lengths} numbers, not {_shown(value)}")
    vector = [_real(kind.name, number) for number in value]
    if len(vector) not in _lengths[kind]:
        raise InvalidArguments(f"{kind.name} takes {lengths} numbers, got {len(vector)}")
    return vector


def element_type(kind: DatasetType) -> ElementType:
    """Return the type of the elements of a dataset: results of integers from 0 stay integers."""
    if kind.name.startswith("Result"):
        return ElementType.UnsignedOrFloat
    is_float = kind is DatasetType.Coordinates or kind.name.startswith("Displacement")
    return ElementType.Float if is_float else ElementType.Unsigned


def refusal(
    kind: DatasetType, values: NDArray[Any], index: tuple[int, ...], exact: bool
) -> InexactConversion:
    """Return the exception for the first value that the file cannot hold."""
    value, where = values[index], f"at {list(index)}"
    if isinstance(value, int):
        value = _shown(value)
    if element_type(kind) is ElementType.Unsigned:
        reason = f"{kind.name} takes whole numbers from 0 to {_largest_word}, got {value} {where}"
    elif exact:
        reason = f"{kind.name}: {value} {where} is not exact in 32 bits, and exact=True"
    else:
        reason = f"{kind.name}: {value} {where} is too large for a 32-bit float"
    return InexactConversion(reason, index)


def array(kind: DatasetType, given: ArrayLike) -> NDArray[Any]:
    """Return a numeric array of one or two dimensions in native byte order.

    Arrays of float16 or foreign byte order are copied.

    Parameters
    ----------
    kind : DatasetType
    given : array-like, shape (n,) or (n, kind.width); for connectivity also (n, k)

    Raises
    ------
    TypeError
        The elements are not integers, booleans or real floating-point numbers.
    ValueError
        The shape does not fit ``kind``, or values are masked.
    InexactConversion
        An integer of Python does not fit in 64 bits.
    """
    if isinstance(given, np.ma.MaskedArray) and np.any(given.mask):
        raise ValueError("the array has masked values; replace them first, for example by NaN")
    try:
        values = np.asarray(given)
    except ValueError:
        if not isinstance(given, (list, tuple)):
            raise
        shape = _expected_shape(kind)
        raise ValueError(
            f"{kind.name} takes an array of shape {shape}; the rows differ in length"
        ) from None
    if values.dtype.kind not in "biuf":
        raise _not_numbers(kind, values)
    _check_shape(kind, values)
    if values.dtype == np.float16:
        return values.astype(np.float32)
    return values if values.dtype.isnative else values.astype(values.dtype.newbyteorder("="))


def _check_shape(kind: DatasetType, values: NDArray[Any]) -> None:
    is_table = values.ndim == 2 and (is_connectivity(kind) or values.shape[1] == kind.width)
    is_column = values.ndim == 1 and kind.width == 1
    is_empty = values.ndim in (1, 2) and len(values) == 0
    if not (is_table or is_column or is_empty):
        expected = _expected_shape(kind)
        raise ValueError(f"{kind.name} takes an array of shape {expected}, not {values.shape}")


def _expected_shape(kind: DatasetType) -> str:
    if is_connectivity(kind):
        return "(n,) or (n, k)"
    return "(n,)" if kind.width == 1 else f"(n, {kind.width})"


def _not_numbers(kind: DatasetType, values: NDArray[Any]) -> Exception:
    """Return the exception for an array that NumPy does not store as real numbers."""
    if values.dtype.kind in "SU":
        return TypeError(f"{kind.name} takes numbers, not strings")
    if values.dtype != object:
        return TypeError(f"{kind.name} takes real numbers, not {values.dtype}")
    for index, value in np.ndenumerate(values):
        where = f"at {list(index)}"
        if not isinstance(value, (numbers.Real, np.bool_)):
            return TypeError(f"{kind.name} takes real numbers, not {_shown(value)} {where}")
        if isinstance(value, int) and not -(2**63) <= value < 2**64:
            if element_type(kind) is ElementType.Unsigned or abs(value) > _largest_float:
                return refusal(kind, values, index, False)
            reason = f"{_shown(value)} {where} does not fit in 64 bits; pass it as float"
            return InexactConversion(f"{kind.name}: {reason}", index)
    return TypeError(f"{kind.name} takes real numbers, not Python objects")


def is_connectivity(kind: DatasetType) -> bool:
    return kind <= DatasetType.Connectivity2
