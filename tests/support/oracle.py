"""What the C++ reader finds in a file, and the same of the reader in Python."""

import os
import struct
import subprocess
import zlib

import mekapi2
import numpy as np


class Oracle:
    """Runs the program oracle.cpp, which describes its commands."""

    def __init__(self):
        self._process = subprocess.Popen(
            os.environ["ORACLE"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, encoding="utf-8"
        )

    def __call__(self, command):
        self._process.stdin.write(f"{command}\n")
        self._process.stdin.flush()
        return "".join(iter(self._process.stdout.readline, "\n"))


def _hex(text):
    return text.encode("utf-8", "surrogateescape").hex() + " "


def _bits(*numbers):
    return "".join(struct.pack("<f", number).hex() for number in numbers) + " "


def _attributes(attributes):
    for key, value in attributes.items():
        form = {str: "s", int: "u", np.float32: "f", float: "d"}[type(value)]
        code = {"u": "<I", "f": "<f", "d": "<d"}
        bits = _hex(value) if form == "s" else struct.pack(code[form], value).hex() + " "
        yield f"attribute {_hex(key)}{form} {bits}"


def _variable(variable, step):
    name = variable.name if step is None else f"{variable.name}\x1e{step}"
    head = f"variable {_hex(name)}{variable._record(step).type} {variable.is_link(step):d} "
    head += f"{variable.is_vibration(step):d} "
    if not variable.has_array(step):
        yield head + "circle"
        return
    array = variable.array(step)
    assert (array.shape, array.dtype) == (variable.shape(step), variable.dtype(step))
    element, width = 1 if array.dtype == "<f4" else 5, array.size // len(array)
    yield head + f"{element} {len(array)} {width} {zlib.crc32(array)}"
    yield from _attributes(variable.attributes(step))


def _node(node):
    record = node._record
    yield f"node {record.id} {record.parent} {_hex(record.name)}{record.type}"
    if node.kind == "group":
        placement = node._record.placement
        yield f"placement {_bits(*placement[:3])}{_bits(*placement[3:7])}{_bits(*placement[7:10])}"
        yield from _attributes(node.attributes)
    if node.material:
        *colors, transparency, shininess, flag = node.material
        numbers = _bits(transparency) + _bits(shininess)
        yield f"material {''.join(_bits(*color) for color in colors)}{numbers}{flag:d}"
    of_node = node.variables if node.kind == "geometry" else {}
    steps = [(variable, step) for variable in of_node.values() for step in variable._keys]
    for variable, step in sorted(steps, key=lambda item: item[0]._keys[item[1]]):
        yield from _variable(variable, step)


def read(path):
    """Return the verdict on a file and its content, as the command "read" of the oracle does."""
    try:
        with mekapi2.open(path) as file:
            file.check()
            lines = ["valid", *(line for node in file for line in _node(node))]
    except mekapi2.UnfinishedError:
        lines = ["unfinished"]
    except mekapi2.FormatError:
        lines = ["damaged"]
    return "".join(f"{line}\n" for line in lines)
