"""Arrays of a mesh file in the form that the library takes."""

from __future__ import annotations

from collections.abc import Iterator, Sequence
from typing import Any

import numpy as np
from numpy.typing import NDArray

from ..enumerations import DatasetType


def are_ids(arrays: Sequence[Any]) -> bool:
    return all(
        array is not None
        and np.asarray(array).dtype.kind in "iu"
        and np.size(array) == len(array)
        and (len(array) == 0 or (0 <= np.min(array) and np.max(array) < 2**32))
        for array in arrays
    )


def numbers(first: int, count: int) -> NDArray[Any]:
    return np.arange(first, first + count, dtype=np.uint32)


def in_space(points: NDArray[Any]) -> NDArray[Any]:
    missing = 3 - points.shape[1]
    return np.pad(points, [(0, 0), (0, missing)]) if missing > 0 else points


def without_mask(values: Any) -> NDArray[Any]:
    if isinstance(values, np.ma.MaskedArray):
        return np.where(values.mask, np.nan, values.data)
    return np.asarray(values)


def components(values: NDArray[Any]) -> Iterator[tuple[str, NDArray[Any]]]:
    """Parts of 1, 3 or 6 numbers per row, with what tells them apart in their names."""
    flat = values.reshape(len(values), -1) if values.size > 0 else values.reshape(len(values), 0)
    width = flat.shape[1]
    if values.ndim == 1 or width == 1:
        yield "", values.reshape(-1)
    elif width in (DatasetType.ResultA3.width, DatasetType.ResultA6.width):
        yield "", flat
    else:
        for column, place in enumerate(np.ndindex(*values.shape[1:])):
            yield "." + "".join(str(i + 1) for i in place), flat[:, column]
