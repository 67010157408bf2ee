"""Writes the model of same_model.cpp, through the Python package."""

import os
import sys

import numpy as np
from mekapi2 import DatasetType, Model, Step

ROOT = "same model Λ"
ATTRIBUTES = {"unsigned": 4000000000, "int": 2**32 - 1, "float": 1.5, "text": "été", "": ""}


def add_tree(model):
    part = f"/{ROOT}/part/"
    model.add_node("FlaggedRootGroup", ROOT, ATTRIBUTES)
    model.add_assembly_components([part, part + "body", part + "skin"])
    others = {f"|{ROOT}|second|": ATTRIBUTES, f"|{ROOT}|part|body": None}
    model.add_assembly_components(others, "|")
    placement = {"Translation": (1, 2, 3), "Rotation": (0, 0, 1, 0.5), "Scale": (2, 2, 4)}
    model.set_current_node(1)
    model.set_node_data(model.add_node("Group", "placed"), placement, {"side": "left"})
    model.move_to_parent()
    model.set_node_data(model.add_node("Shape", "coloured"), {
        "DiffuseColor": (0.25, 0.5, 0.75),
        "SpecularColor": (1, 0.5, 0.25, 0.125),
        "EmissiveColor": (0.125, 0, 0),
        "AmbientColor": (0.5, 0.5, 0.5),
        "Transparency": 0.25,
        "AmbientIntensity": 0.5,
        "Shininess": 0.5,
        "MaterialFlag": True,
    })
    return model.get_node_id(part + "body/body"), model.get_node_id([ROOT, "part", "skin"]) + 1


def add_mesh(model, body, skin):
    numbers = np.arange(20000)
    points = 0.5 * numbers[:, None] + 0.25 * np.arange(3)
    model.add_array("Coordinates", points, [body, skin])
    model.add_array("Connectivity2", numbers[:80].reshape(10, 8), body, polylength=True)
    model.add_array("NodeIds", numbers, [body, skin])


def add_kinds(model, skin):
    steps = ["first", Step("second", {"Time": 0.5})]
    for kind in DatasetType:
        is_integer = kind < DatasetType.Coordinates or kind.name in ("NodeIds", "ElementIds")
        floats = np.arange(3)[:, None] + 0.125 * np.arange(kind.width)
        values = [7, 8, 9] if is_integer else floats
        model.add_array(kind, values, skin, name=f"kind {kind.value}", steps=steps)


def add_results(model, body, skin):
    shape, narrowed = np.arange(1.0, 7).reshape(2, 3), [0.1, 0.2, np.float32(1e30)]
    vibration = {"Category": "Vibration", "Frequency": 12.5}
    model.add_array("ResultA3", shape, body, name="mode", steps="mode 1", attributes=vibration)
    model.add_array("ResultA1", narrowed, [body, skin], name="T", steps="1")
    model.add_array("ResultA1", narrowed, skin, name="T", steps="1")
    model.add_array("ResultB1", [2000000000, 2000000001], skin, name="counts", steps="1")


os.environ["MEKWRITER_DEFAULT_BLOCK_SIZE"] = "100000"
options = {"overwrite": True, "journal": True, "replace_when_complete": True, "threads": 2}
with Model(sys.argv[1], tool_name="same model", tool_version="1.2", **options) as model:
    body, skin = add_tree(model)
    add_mesh(model, body, skin)
    model.checkpoint()
    add_kinds(model, skin)
    model.checkpoint(durable=True)
    add_results(model, body, skin)
