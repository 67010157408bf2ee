"""The container: header, index tables and blocks, and the streams that the blocks form."""

from __future__ import annotations

import bisect
import os
import stat
import struct
import threading
import zlib
from collections import OrderedDict
from collections.abc import Iterator
from typing import BinaryIO, NamedTuple, Optional, Union

import numpy as np
from numpy.typing import NDArray

from .errors import FormatError, UnfinishedError

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
Bytes = NDArray[np.uint8]

HEAVY = "Heavy Data"
TREE = "Mek Tree"
LIGHT = "Light Data"
ATTRIBUTES = "Attributes"
RESOURCES = "Resources"
INFORMATION = "Global Information"
INDEX = "\x0bIndex Block "

COMPRESSED = 0x01
FROZEN = 0x20

_SIGNATURE = b"\x89QBF\r\n\x1a\n"
_VERSION = b"1.3\0"
_EMPTY = b"\x0bEmpty Block "
_INDEX = INDEX.encode()
_ENTRY = struct.Struct("<BI128sIBB")
_COUNT = struct.Struct("<I")
_FIRST_TABLE = 20  # entries
_FURTHER_TABLE = 200
_NAME_SIZE = 128
_NAME_IN_ENTRY = 5
_FLAGS_IN_ENTRY = 137
_HEADER_SIZE = len(_SIGNATURE) + len(_VERSION)
_SMALLEST_COMPRESSED = 12  # content length, and a zlib stream without content
_PIECE = 64 * 1024  # compressed bytes at a time, so that their content stays in the cache
_USUAL_RATIO = 4  # of content and stored bytes; memory for more is allocated when it is needed


def _table_size(entries: int) -> int:
    return _COUNT.size + entries * _ENTRY.size


_FIRST_BLOCK = _HEADER_SIZE + _COUNT.size + _table_size(_FIRST_TABLE)


class Block(NamedTuple):
    """An entry of the index, with the position and the length that follow from it."""

    number: int
    name: str
    flags: int
    position: int
    stored_length: int
    length: int
    """Of the content."""

    @property
    def is_compressed(self) -> bool:
        return self.flags & COMPRESSED != 0

    def error(self, reason: str) -> FormatError:
        return FormatError(reason, block=self.number, stream=self.name)


class _Stream:
    """The blocks of one name, and the offsets of their content in the stream."""

    def __init__(self) -> None:
        self.blocks: list[Block] = []
        self.starts: list[int] = []
        self.length = 0

    def append(self, block: Block) -> None:
        self.blocks.append(block)
        self.starts.append(self.length)
        self.length += block.length


class Buffer:
    """Bytes that are appended to. Memory follows from their number, not from an expected one."""

    def __init__(self) -> None:
        self._bytes = np.empty(0, np.uint8)
        self.length = 0

    def clear(self, capacity: int) -> None:
        """Remove the bytes. The memory is kept if it suffices for ``capacity`` bytes."""
        self.length = 0
        if capacity > len(self._bytes):
            self._bytes = np.empty(capacity, np.uint8)

    def append(self, piece: bytes) -> None:
        end = self.length + len(piece)
        if end > len(self._bytes):
            grown = np.empty(max(end, 2 * len(self._bytes)), np.uint8)
            grown[: self.length] = self._bytes[: self.length]
            self._bytes = grown
        self._bytes[self.length : end] = np.frombuffer(piece, np.uint8)
        self.length = end

    def bytes(self) -> Bytes:
        return self._bytes[: self.length]


class Container:
    """An open file with valid header and tables.

    Several threads can read at the same time. No number in the file decides how much memory is
    allocated: that follows from bytes that exist.

    Parameters
    ----------
    path : str, bytes or path-like
    cache_size : int
        Bytes of decompressed blocks that are kept. The last block is kept in any case.

    Raises
    ------
    FormatError
        The header or a table is invalid.
    OSError
        The file cannot be opened or read.
    """

    def __init__(self, path: Path, cache_size: int) -> None:
        # opening a pipe would wait for its writer
        if not stat.S_ISREG(os.stat(path).st_mode) and not os.path.isdir(path):
            raise FormatError("it is no regular file")
        self._file: BinaryIO = open(path, "rb", buffering=0)
        self._lock = threading.Lock()
        self._cache: OrderedDict[int, Bytes] = OrderedDict()
        self._cache_size = cache_size
        self.blocks: list[Block] = []
        self._streams: dict[str, _Stream] = {}
        try:
            self.size = os.fstat(self._file.fileno()).st_size
            self._read_header()
            self._read_tables()
        except BaseException:
            self._file.close()
            raise

    def close(self) -> None:
        self._file.close()
        self._cache.clear()

    @property
    def closed(self) -> bool:
        return self._file.closed

    # Header and tables

    def _read(self, position: int, size: int) -> bytes:
        if position + size > self.size:
            raise FormatError(f"the file ends before byte {position + size}")
        data = self._read_some(position, size)
        while len(data) < size:  # a signal, or the file became shorter
            more = self._read_some(position + len(data), size - len(data))
            if not more:
                raise FormatError("the file became shorter", offset=position + len(data))
            data += more
        return data

    def _read_some(self, position: int, size: int) -> bytes:
        if hasattr(os, "pread"):
            return os.pread(self._file.fileno(), size, position)
        with self._lock:  # Windows
            self._file.seek(position)
            return self._file.read(size)

    def _read_header(self) -> None:
        header = self._read(0, min(self.size, _HEADER_SIZE))
        signature, version = header[: len(_SIGNATURE)], header[len(_SIGNATURE) :]
        if not _SIGNATURE.startswith(signature):
            raise FormatError("not a model file: the signature is invalid", offset=0)
        if not _VERSION.startswith(version):
            raise FormatError("the format version is not 1.3", offset=len(_SIGNATURE))
        if self.size < _FIRST_BLOCK:
            raise UnfinishedError("it ends before the end of the first index table")
        (length,) = _COUNT.unpack(self._read(_HEADER_SIZE, _COUNT.size))
        if length == 0:
            raise UnfinishedError("it has no index")
        self._table(_HEADER_SIZE + _COUNT.size, _FIRST_TABLE)
        if length != _table_size(_FIRST_TABLE):
            raise FormatError(f"the length of the table is {length}", offset=_HEADER_SIZE)

    def _read_tables(self) -> None:
        end = _FIRST_BLOCK
        position, entries = _HEADER_SIZE + _COUNT.size, _FIRST_TABLE
        first, is_last = 0, False
        uncompressed = None
        while not is_last:
            is_last = True
            for number, block in enumerate(self._entries(position, entries, first, end), first):
                end = block.position + block.stored_length
                if block.name == INDEX:
                    position, is_last = block.position, False
                else:
                    self._add(block)
                    uncompressed = block if block.flags == 0 < block.stored_length else None
            first += entries
            entries = _FURTHER_TABLE
        if end < self.size:
            raise UnfinishedError(f"{self.size - end} bytes follow the last block of the index")
        if uncompressed is not None:  # the flags are the last field that is written
            raise UnfinishedError("its entry is incomplete", block=uncompressed.number)

    def _add(self, block: Block) -> None:
        self.blocks.append(block)
        self._streams.setdefault(block.name, _Stream()).append(block)

    def _table(self, position: int, entries: int) -> bytes:
        """Return a table that was written to its end.

        The last entry has a name: that of an empty block, or that of an index block and its flags.
        """
        table = self._read(position, _table_size(entries))
        last = table[-_ENTRY.size :]
        name = last[_NAME_IN_ENTRY : _NAME_IN_ENTRY + len(_EMPTY)]
        if table.count(0) == len(table):
            raise UnfinishedError(f"the index table at byte {position} was not written")
        if name[-1] == 0 or (name == _INDEX and last[_FLAGS_IN_ENTRY] == 0):
            raise UnfinishedError(f"the index table at byte {position} is incomplete")
        return table

    def _entries(self, position: int, entries: int, first: int, end: int) -> Iterator[Block]:
        """Yield the blocks of a table that are in use, index blocks included.

        Parameters
        ----------
        position : int
            Of the table in the file.
        entries : int
        first : int
            Number of the first block of the table.
        end : int
            Position of that block.
        """
        table = self._table(position, entries)
        if _COUNT.unpack_from(table) != (entries,):
            raise FormatError(f"the table does not have {entries} entries", offset=position)
        empty = None
        for number, entry in enumerate(_ENTRY.iter_unpack(table[_COUNT.size :]), first):
            identifier, width, field, stored, flags, reserved = entry
            is_empty = field.startswith(_EMPTY)
            if width != _NAME_SIZE or reserved != 0:
                raise FormatError("a fixed field of its entry is invalid", block=number)
            if first > 0 and not is_empty and stored == flags == 0:
                raise UnfinishedError(f"the index table at byte {position} is incomplete")
            _check_entry(number, identifier, field, flags)
            name = field.rstrip(b"\0")
            if name == _EMPTY:
                if stored != 0 or flags != 0:
                    raise FormatError("it is empty but has a length or flags", block=number)
                empty = number if empty is None else empty
                continue
            if empty is not None:
                raise FormatError(f"it is in use, but block {empty} is empty", block=number)
            block = self._block(number, name, flags, end, stored)
            end += stored
            yield block
        if first > 0 and empty == first:
            raise UnfinishedError(f"the index table at byte {position} was not updated")

    def _block(self, number: int, name: bytes, flags: int, position: int, stored: int) -> Block:
        is_index = name == _INDEX
        if is_index != (number % _FURTHER_TABLE == _FIRST_TABLE - 1):
            words = "must not" if is_index else "must"
            raise FormatError(f"it {words} be an index block", block=number)
        if is_index and flags != FROZEN:
            raise FormatError("an index block has invalid flags", block=number)
        if position + stored > self.size:
            raise UnfinishedError("it ends after the end of the file", block=number)
        if is_index and stored != _table_size(_FURTHER_TABLE):
            raise FormatError(f"an index block has the length {stored}", block=number)
        text = name.decode("utf-8", "backslashreplace")
        length = stored
        if flags & COMPRESSED:
            if stored < _SMALLEST_COMPRESSED:
                raise FormatError("it is too short to be compressed", block=number, stream=text)
            (length,) = _COUNT.unpack(self._read(position, _COUNT.size))
        return Block(number, text, flags, position, stored, length)

    # Content

    def content(self, block: Block, buffer: Optional[Buffer] = None) -> Bytes:
        """Return the content of a block, without the cache.

        Parameters
        ----------
        block : Block
        buffer : Buffer, optional
            Its bytes are replaced by the content. Using one for many blocks saves the system the
            effort to provide memory for each of them.

        Raises
        ------
        FormatError
            The block cannot be decompressed, or its checksum or length is invalid.
        """
        if not block.is_compressed:
            return np.frombuffer(self._read(block.position, block.stored_length), np.uint8)
        content = buffer or Buffer()
        content.clear(min(block.length, _USUAL_RATIO * block.stored_length))
        inflater = zlib.decompressobj()
        position, end = block.position + _COUNT.size, block.position + block.stored_length
        try:
            while position < end and not inflater.eof:
                piece = self._read(position, min(_PIECE, end - position))
                position += len(piece)
                content.append(inflater.decompress(piece))
                if content.length > block.length:
                    raise block.error("it has more content than its length says")
        except zlib.error as error:
            raise block.error(f"it cannot be decompressed: {error}") from None
        if not inflater.eof:
            raise block.error("its compressed data end early")
        if inflater.unused_data or position < end:
            raise block.error("bytes follow its compressed data")
        if content.length < block.length:
            raise block.error("it has less content than its length says")
        return content.bytes()

    def cached_content(self, block: Block) -> Bytes:
        """Return the content of a block. Blocks that were used recently are kept."""
        with self._lock:
            content = self._cache.get(block.number)
            if content is not None:
                self._cache.move_to_end(block.number)
                return content
        content = self.content(block)
        with self._lock:
            self._cache[block.number] = content
            self._cache.move_to_end(block.number)
            kept = sum(map(len, self._cache.values()))
            while kept > self._cache_size and len(self._cache) > 1:
                kept -= len(self._cache.popitem(last=False)[1])
        return content

    def stream_length(self, name: str) -> int:
        stream = self._streams.get(name)
        return 0 if stream is None else stream.length

    def stream(self, name: str) -> bytes:
        """Return a whole stream; empty if there is none."""
        stream = self._streams.get(name)
        if stream is None:
            return b""
        return b"".join(self.content(block).tobytes() for block in stream.blocks)

    def find(self, name: str, offset: int, size: int) -> tuple[Block, int]:
        """Return the block that holds bytes of a stream, and their offset in its content.

        Raises
        ------
        FormatError
            No single block holds them.
        """
        stream = self._streams.get(name)
        if stream is not None:
            index = bisect.bisect_right(stream.starts, offset) - 1
            block, start = stream.blocks[index], offset - stream.starts[index]
            if start + size <= block.length:
                return block, start
        raise FormatError(f"no block holds {size} bytes from here", stream=name, offset=offset)


def _check_entry(number: int, identifier: int, field: bytes, flags: int) -> None:
    if b"\0" in field.rstrip(b"\0"):
        raise FormatError("its name is not padded with NUL", block=number)
    if identifier != (number + 1) % 256:
        raise FormatError(f"its id is {identifier}", block=number)
    if flags & ~(COMPRESSED | FROZEN):
        raise FormatError(f"it has the unknown flags {flags:#04x}", block=number)
