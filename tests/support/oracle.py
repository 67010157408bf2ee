"""What mekinfo finds in a file, and the same of the reader in Python."""

import json
import math
import os
import subprocess

import mekapi2
import numpy as np


def mekinfo(*arguments):
    command = [os.environ["MEKINFO"], *arguments]
    return subprocess.run(command, stdout=subprocess.PIPE, encoding="utf-8", errors="replace")


def ask(path):
    """Return "unfinished", "damaged", or the nodes of a valid file."""
    verdict = mekinfo("--check", path)
    if verdict.returncode != 0:
        assert verdict.returncode == 1 and ": INVALID, " in verdict.stdout
        return "unfinished" if ": INVALID, file is unfinished: " in verdict.stdout else "damaged"
    nodes = json.loads(mekinfo("--json", "--stats", path).stdout)["nodes"]
    for node in nodes:
        for variable in node.get("variables", []):
            variable["link"] = variable["link"] is not None
    return nodes


def _text(text):
    return text.encode("utf-8", "surrogateescape").decode("utf-8", "replace")


def _number(number):
    """A float as its shortest decimal number."""
    if not math.isfinite(number):
        return "NaN" if math.isnan(number) else "Infinity" if number > 0 else "-Infinity"
    return float(str(number)) if isinstance(number, np.float32) else number


def _floats(values):
    if isinstance(values, tuple):
        return [_floats(each) for each in values]
    return _number(np.float32(values))


def _attributes(attributes):
    types = {str: "string", int: "u32", np.float32: "f32", float: "f64"}
    return [
        {"key": _text(key), "type": types[type(value)],
         "value": _text(value) if isinstance(value, str) else _number(value)}
        for key, value in attributes.items()
    ]  # fmt: skip


def _statistics(array):
    numbers = array[~np.isnan(array)]
    found = {"minimum": None, "maximum": None, "mean": None, "nan": array.size - numbers.size}
    if numbers.size > 0:
        with np.errstate(all="ignore"):
            mean = np.cumsum(numbers, dtype=float)[-1] / numbers.size
        ends = [_number(end if array.dtype == "<f4" else int(end))
                for end in (numbers.min(), numbers.max())]  # fmt: skip
        found.update(minimum=ends[0], maximum=ends[1], mean=_number(float(mean)))
    return found


def _variable(variable, step):
    found = {"name": _text(variable.name), "step": None if step is None else _text(step),
             "type": variable._record(step).type, "elementType": None, "rows": None, "width": None,
             "link": variable.is_link(step), "vibration": variable.is_vibration(step),
             "attributes": _attributes(variable.attributes(step)), "statistics": None}  # fmt: skip
    if variable.has_array(step):
        array = variable.array(step)
        assert (array.shape, array.dtype) == (variable.shape(step), variable.dtype(step))
        found["elementType"] = "f32" if array.dtype == "<f4" else "u32"
        found.update(rows=len(array), width=array.size // len(array))
        found["statistics"] = _statistics(array)
    return found


def _node(node):
    record = node._record
    found = {"id": record.id, "parent": record.parent or None, "type": record.type,
             "name": _text(record.name), "path": _text(node.path)}  # fmt: skip
    if node.kind == "group":
        floats = _floats(record.placement)
        found.update(translation=floats[:3], rotation=floats[3:7], scale=floats[7:10],
                     rootFlag=floats[10] != 0, attributes=_attributes(node.attributes))  # fmt: skip
    if node.material:
        *numbers, flag = node.material
        names = [f"{kind}Color" for kind in ("diffuse", "specular", "emissive", "ambient")]
        names += ["transparency", "shininess"]
        found["material"] = dict(zip(names, _floats(tuple(numbers))), materialFlag=flag)
    if node.kind == "geometry":
        steps = [(each, step) for each in node.variables.values() for step in each._keys]
        steps.sort(key=lambda item: item[0]._keys[item[1]])
        found["variables"] = [_variable(*item) for item in steps]
    return found


def read(path):
    """Return what the reader in Python finds, in the form of `ask`."""
    try:
        with mekapi2.open(path) as file:
            file.check()
            return [_node(node) for node in file]
    except mekapi2.UnfinishedError:
        return "unfinished"
    except mekapi2.FormatError:
        return "damaged"
