"""Reads a finished container from its format alone: the tests' second witness beside mekinfo."""

import os
import struct
import subprocess
import zlib
from types import SimpleNamespace

import numpy as np

SIGNATURE = bytes.fromhex("89514246 0D0A1A0A 312E3300")
ENTRY_SIZE = 139


class Cursor:
    def __init__(self, data):
        self.data, self.position = data, 0

    def take(self, form):
        values = struct.unpack_from("<" + form, self.data, self.position)
        self.position += struct.calcsize("<" + form)
        return values if len(values) > 1 else values[0]

    def text(self):
        count = self.take("I")
        self.position += count
        return self.data[self.position - count : self.position].decode()

    def vector(self, take):
        return [take() for _ in range(self.take("I"))]

    def attributes(self):
        keys = self.vector(self.text)
        types = self.vector(lambda: self.take("B"))
        forms = ((0, "I"), (1, "f"), (3, "d"))
        kinds = {kind: iter(self.vector(lambda: self.take(form))) for kind, form in forms}
        kinds[2] = iter(self.vector(self.text))
        return {key: next(kinds[kind]) for key, kind in zip(keys, types)}


def _streams(data):
    assert data[:12] == SIGNATURE
    table = Cursor(data)
    table.position = 16
    position, number, streams = 2800, 0, {}
    entries = [table.take("x4x128sIBx") for _ in range(table.take("I"))]
    while number < len(entries):
        name, length, flags = entries[number]
        content = data[position : position + length]
        if name.startswith(b"\x0bIndex Block "):
            more = Cursor(content)
            entries += [more.take("x4x128sIBx") for _ in range(more.take("I"))]
        elif flags & 1:
            content = zlib.decompress(content[4:])
        name = name.rstrip(b"\0").decode()
        streams[name] = streams.get(name, b"") + content
        position, number = position + length, number + 1
    assert position == len(data)
    return streams


def _dataset(heavy, offset, size, width, element_type):
    count = size // 4 // width
    planes = np.frombuffer(heavy, np.uint8, size, offset).reshape(width, 4, count)
    words = np.ascontiguousarray(planes.transpose(2, 0, 1)).view("<u4").reshape(count, width)
    return words.view({1: "<f4", 5: "<u4"}[element_type])


def _variable(light, attributes, heavy):
    name, word, linked = light.text(), light.take("I"), light.take("?")
    variable = SimpleNamespace(name=name, type=word & 0xFFFFFF, link=None)
    if linked:
        variable.link = light.take("II")
    else:
        size, width, *_, offset = light.take("iB??ff?Q")
        variable.values = _dataset(heavy, offset, size, width, word >> 24)
    variable.vibration = light.take("?")
    variable.attributes = attributes.attributes()
    return variable


def read(path):
    """The nodes by id, once mekinfo has checked the file. Links have the values of their owners."""
    checked = subprocess.run([os.environ["MEKINFO"], "--check", path], capture_output=True)
    assert checked.returncode == 0, checked.stderr
    with open(path, "rb") as file:
        streams = _streams(file.read())
    heavy = streams.get("Heavy Data", b"")
    names = ("Mek Tree", "Light Data", "Attributes", "Resources")
    tree, light, attributes, resources = (Cursor(streams.get(name, b"")) for name in names)
    nodes = {}
    for _ in range(tree.take("i")):
        id, parent, *_ = tree.take("6I")
        name, type, _, _ = tree.text(), tree.text(), tree.text(), tree.take("Q")
        node = SimpleNamespace(id=id, parent=parent, name=name, type=type, variables={})
        nodes[id] = node
        if node.type == "Group":
            node.placement, node.attributes = light.take("10f"), attributes.attributes()
            node.root_flag = light.take("B")
        elif node.type == "Shape":
            resources.take("I"), resources.text()
            node.material = resources.take("18fB")
        elif node.type == "Geometry":
            variables = [_variable(light, attributes, heavy) for _ in range(light.take("i"))]
            node.variables = {variable.name: variable for variable in variables}
    for variable in (each for node in nodes.values() for each in node.variables.values()):
        if variable.link is not None:
            owner, index = variable.link
            variable.values = list(nodes[owner].variables.values())[index].values
    return nodes


def by_path(nodes):
    """The nodes by the names from the root, as in ``plate/surface/surface``."""
    paths = {0: ""}
    for id, node in nodes.items():
        paths[id] = f"{paths[node.parent]}/{node.name}".lstrip("/")
    return {paths[id]: node for id, node in nodes.items()}
