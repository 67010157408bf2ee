"""Names of results and shapes, and values of arrays and field data that the library accepts."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from typing import Any, Union

import numpy as np
from numpy.typing import NDArray

from ..enumerations import DatasetType
from ._elements import shape_name
from ._source import Part, Source

Attribute = Union[int, float, str]

separator = "\x1e"
"""Separates the names of a path. It cannot be part of a name."""

_mesh_group = "Mesh"
_node_shape = "Nodes"
_max_field_values = 64
_max_string_bytes = 256


def plain_name(name: str) -> str:
    """Return ``name`` as valid UTF-8 without `separator`, or ``unnamed`` if it is empty."""
    return name.encode(errors="replace").decode().replace(separator, " ") or "unnamed"


class Names:
    """Assigns unique names.

    Parameters
    ----------
    reserved : sequence of str
        Names that are not assigned.
    """

    def __init__(self, reserved: Sequence[str] = ()) -> None:
        self._taken = set(reserved)
        self._given: dict[Any, str] = {}

    def of(self, key: Any, wanted: str) -> str:
        """Return the name of ``key``: ``wanted``, with `` (2)`` and so on if that is taken.

        Later calls with the same key return the same name.
        """
        known = self._given.get(key)
        if known is not None:
            return known
        base = plain_name(wanted)
        name, number = base, 1
        while name in self._taken:
            number += 1
            name = f"{base} ({number})"
        self._taken.add(name)
        self._given[key] = name
        return name


def shape_paths(part: Part, root: str) -> list[str]:
    """Return the path of each cell block, or one path for the nodes of a mesh without cells."""
    top = [root, part.name] if part.name else [root]
    taken: dict[str, Names] = {}
    paths: list[str] = []
    for block, region in zip(part.mesh.cells, part.regions):
        groups = [*top, region] if region else top if part.name else [*top, _mesh_group]
        parent = _path(groups)
        name = taken.setdefault(parent, Names()).of(len(paths), shape_name(block))
        paths.append(parent + separator + name)
    return paths or [_path([*top, _node_shape])]


def _path(names: list[str]) -> str:
    return "".join(separator + plain_name(name) for name in names)


def are_ids(arrays: Sequence[Any]) -> bool:
    """Return whether all arrays hold one integer from 0 to 2**32 - 1 per row."""
    return all(
        array is not None
        and np.asarray(array).dtype.kind in "iu"
        and np.size(array) == len(array)
        and (len(array) == 0 or (0 <= np.min(array) and np.max(array) < 2**32))
        for array in arrays
    )


def numbers(first: int, count: int) -> NDArray[Any]:
    """Return ``count`` consecutive integers, shape (count,)."""
    return np.arange(first, first + count, dtype=np.uint32)


def in_space(points: NDArray[Any]) -> NDArray[Any]:
    """Return points of shape (n, 3); missing coordinates are 0."""
    missing = 3 - points.shape[1]
    return np.pad(points, [(0, 0), (0, missing)]) if missing > 0 else points


def without_mask(values: Any) -> NDArray[Any]:
    """Return the values as a plain array; masked values become NaN."""
    if isinstance(values, np.ma.MaskedArray):
        return np.where(values.mask, np.nan, values.data)
    return np.asarray(values)


def components(values: NDArray[Any]) -> Iterator[tuple[str, NDArray[Any]]]:
    """Split an array into datasets of 1, 3 or 6 components.

    Parameters
    ----------
    values : array, shape (n, ...)

    Yields
    ------
    suffix : str
        Appended to the name of the result: empty, or ``.1`` and so on for single components.
    dataset : array, shape (n,), (n, 3) or (n, 6)
    """
    flat = values.reshape(len(values), -1) if values.size > 0 else values.reshape(len(values), 0)
    width = flat.shape[1]
    if values.ndim == 1 or width == 1:
        yield "", values.reshape(-1)
    elif width in (DatasetType.ResultA3.width, DatasetType.ResultA6.width):
        yield "", flat
    else:
        for column, index in enumerate(np.ndindex(*values.shape[1:])):
            yield "." + "".join(str(i + 1) for i in index), flat[:, column]


def root_attributes(source: Source, warnings: list[str]) -> dict[str, Attribute]:
    """Return the attributes of the root group: format, file name, dimension and field data.

    A warning is appended for field data of more than 64 values, which is not converted.
    """
    mesh = source.parts[0].mesh
    attributes: dict[str, Attribute] = {
        "Source format": source.format,
        "Source file": _string(source.path.name),
        "Dimension": mesh.points.shape[1],
    }
    names = Names(list(attributes))
    for name, value in mesh.field_data.items():
        values = _flat(value)
        if len(values) > _max_field_values:
            warnings.append(f"field data {name!r} skipped: it has {len(values)} values")
            continue
        for index, element in enumerate(values, 1):
            wanted = name if len(values) == 1 else f"{name}.{index}"
            attributes[names.of((name, index), wanted)] = attribute(element)
    return attributes


def attribute(value: Any) -> Attribute:
    """Return an integer from 0 to 2**32 - 1 as such, any other number as a float, else a string."""
    if isinstance(value, bytes):
        return _string(value.decode("utf-8", errors="replace"))
    if isinstance(value, (bool, np.bool_, int, np.integer)) and 0 <= value < 2**32:
        return int(value)
    try:
        return float(np.float32(value))
    except (TypeError, ValueError):
        return _string(str(value))


def _flat(value: Any) -> list[Any]:
    if isinstance(value, (str, bytes)) or np.ndim(value) == 0:
        return [value]
    return [element for row in value for element in _flat(row)]


def _string(value: str) -> str:
    """Return the start of ``value``: at most 256 bytes of whole characters, up to a zero byte."""
    encoded = value.split("\0")[0].encode(errors="replace")
    return encoded[:_max_string_bytes].decode(errors="ignore")
