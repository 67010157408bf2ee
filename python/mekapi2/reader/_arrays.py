"""Datasets: their values, and the variables that own them."""

from __future__ import annotations

import threading
from collections.abc import Sequence
from concurrent.futures import ThreadPoolExecutor
from typing import Any, Optional, Union

import numpy as np
from numpy.typing import NDArray

from ._container import HEAVY, Block, Buffer, Container
from ._records import NodeRecord, VariableRecord
from .errors import CircularLinkError, FormatError

Array = NDArray[Any]
Key = tuple[int, int]
"""Id of a geometry and index of a variable."""

_DTYPES = {1: np.dtype("<f4"), 5: np.dtype("<u4")}
_ROWS_AT_A_TIME = 2**15  # so that their part of the array stays in the processor's cache
_CIRCLE = "its links form a circle"


def dtype_of(owner: VariableRecord) -> np.dtype[Any]:
    """Return the type of the elements. Raises `FormatError` if it is unknown."""
    dtype = _DTYPES.get(owner.element_type)
    if dtype is None:
        raise FormatError(f"variable {owner.name!r}: unknown element type {owner.element_type}")
    return dtype


def shape_of(owner: VariableRecord) -> tuple[int, ...]:
    """Return the shape of the array. Raises `FormatError` if it is no whole number of rows."""
    row_size = 4 * owner.width
    if row_size == 0 or owner.byte_size % row_size != 0:
        raise FormatError(f"the size of variable {owner.name!r} is not a whole number of rows")
    rows = owner.byte_size // row_size
    return (rows,) if owner.width == 1 else (rows, owner.width)


def unshuffle(content: NDArray[np.uint8], start: int, owner: VariableRecord) -> Array:
    """Return the array whose shuffled bytes begin at ``start`` of the content of a block.

    The bytes form a table of 4 * width rows: the lowest bytes of all numbers of the first column,
    the second bytes and so on. Its transpose is the array. Copying each of its rows to a column is
    faster than NumPy's transposition, whose inner loop has the length of a row of the array.
    """
    dtype, shape = dtype_of(owner), shape_of(owner)
    rows, planes = shape[0], 4 * owner.width
    shuffled = content[start : start + owner.byte_size].reshape(planes, rows)
    table = np.empty((rows, planes), np.uint8)
    for first in range(0, rows, _ROWS_AT_A_TIME):
        part = table[first : first + _ROWS_AT_A_TIME]
        for plane in range(planes):
            part[:, plane] = shuffled[plane, first : first + len(part)]
    return table.view(dtype).reshape(shape)


class Datasets:
    """Finds the owner of each variable, and reads datasets.

    Parameters
    ----------
    container : Container
    nodes : sequence of NodeRecord
        Node ``id`` has the index ``id - 1``.
    """

    def __init__(self, container: Container, nodes: Sequence[NodeRecord]) -> None:
        self._container = container
        self._nodes = nodes
        self._lock = threading.Lock()
        self._owners: dict[Key, Union[Key, str]] = {}

    def record(self, key: Key) -> VariableRecord:
        return self._nodes[key[0] - 1].variables[key[1]]

    def owner(self, key: Key) -> Key:
        """Follow the links of a variable to the one that describes the dataset.

        Raises
        ------
        CircularLinkError
            There is none, because the links form a circle.
        FormatError
            A link refers to a variable that does not exist.
        """
        found = self._owners.get(key)
        if found is None:
            with self._lock:
                found = self._resolve(key)
        if not isinstance(found, str):
            return found
        node = self._nodes[key[0] - 1]
        kind = CircularLinkError if found is _CIRCLE else FormatError
        name = self.record(key).name
        raise kind(f"variable {name!r} of node {node.id} ({node.name!r}) has no array: {found}")

    def _resolve(self, key: Key) -> Union[Key, str]:
        """Note the result for all variables on the way, so that long chains are followed once."""
        way: dict[Key, None] = {}
        at = key
        result: Union[None, Key, str] = None
        while result is None:
            if not self._exists(at):
                result = f"it is linked to variable {at[1]} of node {at[0]}, which does not exist"
            elif at in way:
                result = _CIRCLE
            else:
                way[at] = None
                target = self.record(at).target
                result = self._owners.get(at) or (at if target is None else None)
                at = target or at
        self._owners.update(dict.fromkeys(way, result))
        return result

    def _exists(self, key: Key) -> bool:
        node, index = key
        return 0 < node <= len(self._nodes) and index < len(self._nodes[node - 1].variables)

    def place(self, owner: VariableRecord) -> tuple[Block, int]:
        """Return the block of a dataset and the offset in its content.

        Raises
        ------
        FormatError
            No block holds the dataset, or its description is invalid.
        """
        shape_of(owner)
        dtype_of(owner)
        return self._container.find(HEAVY, owner.offset, owner.byte_size)

    def read(self, owner: VariableRecord) -> Array:
        """Return the array of an owner; its block is decompressed unless it is cached."""
        block, start = self.place(owner)
        return unshuffle(self._container.cached_content(block), start, owner)

    def read_all(self, owners: Sequence[Key], threads: int) -> dict[Key, Array]:
        """Return the arrays of owners; each block is decompressed once, one in each thread."""
        by_block: dict[Block, list[tuple[Key, int]]] = {}
        for key in owners:
            block, start = self.place(self.record(key))
            by_block.setdefault(block, []).append((key, start))

        buffers = threading.local()

        def read_block(item: tuple[Block, list[tuple[Key, int]]]) -> list[tuple[Key, Array]]:
            block, places = item
            buffers.one = getattr(buffers, "one", None) or Buffer()
            content = self._container.content(block, buffers.one)
            return [(key, unshuffle(content, start, self.record(key))) for key, start in places]

        if threads == 1:
            return {key: array for item in by_block.items() for key, array in read_block(item)}
        with ThreadPoolExecutor(threads) as pool:
            results = pool.map(read_block, by_block.items())
            return {key: array for arrays in results for key, array in arrays}


def circular(datasets: Datasets, key: Key) -> bool:
    """Return whether the links of a variable form a circle."""
    try:
        datasets.owner(key)
    except CircularLinkError:
        return True
    return False


def split_name(name: str) -> tuple[str, Optional[str]]:
    """Return quantity and step of the name of a variable; the step is None if there is none."""
    quantity, separator, step = name.partition("\x1e")
    return quantity, step if separator else None
