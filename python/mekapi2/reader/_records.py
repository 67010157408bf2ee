"""Decodes the streams of the model: nodes, variables, attributes, materials, information."""

from __future__ import annotations

import struct
import threading
from typing import Any, NamedTuple, NoReturn, Optional, Union

import numpy as np

from ._container import ATTRIBUTES, INFORMATION, LIGHT, RESOURCES, TREE, Container
from .errors import FormatError

AttributeValue = Union[int, np.float32, float, str]

_U32 = struct.Struct("<I")
_LINKS = struct.Struct("<6I")
_OFFSET = struct.Struct("<Q")
_PLACEMENT = struct.Struct("<10fB")
_TYPE = struct.Struct("<IB")
_LINK = struct.Struct("<IIB")
_OWNER = struct.Struct("<IBBBIIBQB")
_MATERIAL = struct.Struct("<II3s18fB")

_SMALLEST_NODE = _LINKS.size + 3 * _U32.size + _OFFSET.size
_SMALLEST_VARIABLE = _U32.size + _TYPE.size + _LINK.size
_EMPTY_ATTRIBUTES = bytes(24)
_LONGEST_STRING = 256
_MATERIAL_VERSION = b"0.3"
_INFORMATION_VERSION = "0.1"


class Cursor:
    """Takes values from the start of a stream. All counts are checked against its length."""

    def __init__(self, data: bytes, stream: str) -> None:
        self._data = data
        self._stream = stream
        self.position = 0

    def fail(self, reason: str) -> NoReturn:
        raise FormatError(reason, stream=self._stream, offset=self.position)

    def unpack(self, layout: struct.Struct, what: str) -> tuple[Any, ...]:
        try:
            values = layout.unpack_from(self._data, self.position)
        except struct.error:
            self.fail(f"the stream ends within {what}")
        self.position += layout.size
        return values

    def count(self, what: str, smallest: int) -> int:
        """Take the number of elements that follow, each of at least ``smallest`` bytes."""
        (count,) = self.unpack(_U32, what)
        if count * smallest > len(self._data) - self.position:
            self.fail(f"{count} {what} exceed the remaining bytes")
        return int(count)

    def string(self, what: str) -> str:
        """Take a string. Bytes that are not UTF-8 become surrogates, which encode to them again."""
        length = self.count(what, 1)
        start = self.position
        self.position += length
        return self._data[start : self.position].decode("utf-8", "surrogateescape")

    def skip(self, expected: bytes) -> bool:
        """Skip these bytes if they are next."""
        is_next = self._data.startswith(expected, self.position)
        if is_next:
            self.position += len(expected)
        return is_next

    def taken(self, start: int) -> bytes:
        """Return the bytes from ``start`` to the position."""
        return self._data[start : self.position]

    def expect_end(self) -> None:
        if self.position != len(self._data):
            self.fail(f"{len(self._data) - self.position} bytes remain")


class VariableRecord(NamedTuple):
    """A variable as it is stored. ``target`` is None for an owner; a link has no dataset."""

    name: str
    type: int
    element_type: int
    target: Optional[tuple[int, int]]
    """Id of the geometry and index of the variable."""
    byte_size: int
    width: int
    offset: int
    is_vibration: bool
    attributes: int
    """Number of the attribute list."""


class NodeRecord(NamedTuple):
    """A node as it is stored."""

    id: int
    parent: int
    links: tuple[int, ...]
    """Ids of previous and next sibling, first and last child; 0 for none."""
    name: str
    type: str
    version: str
    placement: tuple[float, ...]
    """Of a group: translation, rotation, scale, root flag."""
    attributes: int
    """Number of the attribute list of a group."""
    material: int
    """Number of the material of a shape."""
    variables: list[VariableRecord]


class Material(NamedTuple):
    """The material of a shape. Colours are red, green, blue and a fourth channel."""

    diffuse_color: tuple[float, ...]
    specular_color: tuple[float, ...]
    emissive_color: tuple[float, ...]
    ambient_color: tuple[float, ...]
    transparency: float
    shininess: float
    flag: bool


class Info(NamedTuple):
    """The program that wrote the file, and when.

    Strings are empty if the writer did not set them. ``date`` is local time as the writer's system
    formats it, such as "Sat Mar 01 12:00:00 2025 UTC".
    """

    tool: str
    tool_version: str
    version: str
    """Of the format."""
    date: str
    computer: str
    user: str
    comment: str


def _flag(cursor: Cursor, value: int, what: str) -> bool:
    if value > 1:
        cursor.fail(f"{what} is {value}, expected 0 or 1")
    return value == 1


def _variable(light: Cursor, attributes: int) -> VariableRecord:
    name = light.string("the name of a variable")
    type_word, linked = light.unpack(_TYPE, "a variable")
    element_type, kind = type_word >> 24, type_word & 0xFFFFFF
    if _flag(light, linked, "the link flag"):
        node, index, vibration = light.unpack(_LINK, "a link")
        is_vibration = _flag(light, vibration, "the vibration flag")
        return VariableRecord(
            name, kind, element_type, (node, index), 0, 0, 0, is_vibration, attributes
        )
    fields = light.unpack(_OWNER, "a variable")
    size, width, *reserved, offset, vibration = fields
    if any(reserved):
        light.fail("a reserved field of a variable is not 0")
    is_vibration = _flag(light, vibration, "the vibration flag")
    return VariableRecord(
        name, kind, element_type, None, size, width, offset, is_vibration, attributes
    )


def read_nodes(container: Container) -> list[NodeRecord]:
    """Read tree and light data.

    Raises
    ------
    FormatError
        A record is invalid, or the parent of a node does not precede it.
    """
    tree = Cursor(container.stream(TREE), TREE)
    light = Cursor(container.stream(LIGHT), LIGHT)
    lists = materials = 0
    nodes: list[NodeRecord] = []
    for number in range(1, tree.count("nodes", _SMALLEST_NODE) + 1):
        node, parent, *links = tree.unpack(_LINKS, "a node")
        name, kind, version = (tree.string(what) for what in ("a name", "a type", "a version"))
        (light_offset,) = tree.unpack(_OFFSET, "a light offset")
        if node != number or parent >= number or (parent == 0) != (number == 1):
            tree.fail(f"node {number} has the id {node} and the parent {parent}")
        if light_offset != light.position:
            tree.fail(f"the light offset {light_offset} of node {number} is invalid")
        first_list, material = lists, materials
        placement: tuple[float, ...] = ()
        variables: list[VariableRecord] = []
        if kind == "Group":
            placement = light.unpack(_PLACEMENT, "a placement")
            lists += 1
        elif kind == "Shape":
            materials += 1
        elif kind == "Geometry":
            count = light.count("variables", _SMALLEST_VARIABLE)
            variables = [_variable(light, lists + index) for index in range(count)]
            lists += count
        nodes.append(
            NodeRecord(
                node, parent, tuple(links), name, kind, version, placement,
                first_list, material, variables,
            )
        )
    if not nodes:
        tree.fail("there is no root")
    tree.expect_end()
    light.expect_end()
    return nodes


class AttributeLists:
    """The attribute lists, which are decoded as far as they are asked for."""

    def __init__(self, container: Container) -> None:
        self._container = container
        self._cursor: Optional[Cursor] = None
        self._lists: list[dict[str, AttributeValue]] = []
        self._layout: Optional[_Layout] = None
        self._lock = threading.Lock()

    def __getitem__(self, number: int) -> dict[str, AttributeValue]:
        with self._lock:
            cursor = self._opened()
            while len(self._lists) <= number:
                self._lists.append(self._next(cursor))
        return self._lists[number]

    def _opened(self) -> Cursor:
        if self._cursor is None:
            self._cursor = Cursor(self._container.stream(ATTRIBUTES), ATTRIBUTES)
        return self._cursor

    def _next(self, cursor: Cursor) -> dict[str, AttributeValue]:
        if cursor.skip(_EMPTY_ATTRIBUTES):
            return {}
        if self._layout is None or not cursor.skip(self._layout.head):
            self._layout = _Layout(cursor)
        return dict(zip(self._layout.keys, self._layout.values(cursor)))

    def check(self, count: int) -> None:
        """Decode the remaining lists; ``count`` is the number of all lists."""
        if count > 0:
            self[count - 1]
        self._opened().expect_end()


def _strings(cursor: Cursor, what: str) -> list[str]:
    return [cursor.string(what) for _ in range(cursor.count(what, _U32.size))]


class _Layout:
    """Keys and types of an attribute list, from which the layout of its numbers follows.

    Most lists have the keys of the list before, so that they are not decoded again.
    """

    def __init__(self, cursor: Cursor) -> None:
        start = cursor.position
        self.keys = _strings(cursor, "attribute keys")
        (self._types,) = cursor.unpack(
            struct.Struct(f"{cursor.count('attribute types', 1)}s"), "attribute types"
        )
        self.head = cursor.taken(start)
        self._counts = [self._types.count(kind) for kind in range(4)]
        words, floats, strings, doubles = self._counts
        if not len(self._types) == len(self.keys) == sum(self._counts):
            cursor.fail("the types of an attribute list are invalid")
        encoded = [key.encode("utf-8", "surrogateescape") for key in self.keys]
        if any(left >= right for left, right in zip(encoded, encoded[1:])):
            cursor.fail("the keys of an attribute list are not in ascending order")
        self._numbers = struct.Struct(f"<I{words}II{floats}fI{doubles}dI")
        positions = np.argsort(np.frombuffer(self._types, np.uint8), kind="stable")
        self._order = np.argsort(positions).tolist()

    def values(self, cursor: Cursor) -> list[AttributeValue]:
        numbers = list(cursor.unpack(self._numbers, "the numbers of an attribute list"))
        words, floats, strings, doubles = self._counts
        of_floats, of_doubles = words + 1, words + floats + 2  # positions of the counts
        found = [numbers[0], numbers[of_floats], numbers[-1], numbers[of_doubles]]
        if found != self._counts:
            cursor.fail("the numbers of types and values of an attribute list differ")
        by_type: list[AttributeValue] = numbers[1:of_floats]
        by_type += map(np.float32, numbers[of_floats + 1 : of_doubles])
        by_type += [_short_string(cursor) for _ in range(strings)]
        by_type += numbers[of_doubles + 1 : -1]
        return [by_type[position] for position in self._order]


def _short_string(cursor: Cursor) -> str:
    text = cursor.string("a string")
    if "\0" in text or len(text.encode("utf-8", "surrogateescape")) > _LONGEST_STRING:
        cursor.fail("a string is longer than 256 bytes or contains NUL")
    return text


class Materials:
    """The materials, which all have the same size."""

    def __init__(self, container: Container) -> None:
        self._container = container
        self._data: Optional[bytes] = None

    def __getitem__(self, number: int) -> Material:
        if self._data is None:
            self._data = self._container.stream(RESOURCES)
        cursor = Cursor(self._data, RESOURCES)
        cursor.position = number * _MATERIAL.size
        size, length, version, *numbers, flag = cursor.unpack(_MATERIAL, "a material")
        if (size, length, version) != (_MATERIAL.size, len(_MATERIAL_VERSION), _MATERIAL_VERSION):
            cursor.fail("the size or version of a material is invalid")
        diffuse, specular, emissive, ambient = (tuple(numbers[i : i + 4]) for i in range(0, 16, 4))
        is_set = _flag(cursor, flag, "the material flag")
        return Material(diffuse, specular, emissive, ambient, numbers[16], numbers[17], is_set)

    def check(self, count: int) -> None:
        for number in range(count):
            self[number]
        if self._container.stream_length(RESOURCES) != count * _MATERIAL.size:
            raise FormatError(f"it does not hold {count} materials", stream=RESOURCES)


def read_info(container: Container) -> Info:
    """Read the global information.

    Raises
    ------
    FormatError
        It is invalid.
    """
    cursor = Cursor(container.stream(INFORMATION), INFORMATION)
    if cursor.count("modifiers", _U32.size) != 1:
        cursor.fail("the number of modifiers is not 1")
    start = cursor.position
    (size,) = cursor.unpack(_U32, "a size")
    if cursor.string("a version") != _INFORMATION_VERSION:
        cursor.fail(f"the version of the modifier is not {_INFORMATION_VERSION}")
    info = Info(*(cursor.string(f"the {name}") for name in Info._fields))
    if cursor.position - start != size:
        cursor.fail("the size of the modifier is invalid")
    if cursor.unpack(_U32, "results") != (0,):
        cursor.fail("the list of results is not empty")
    cursor.expect_end()
    return info
