"""Reads files as mekinfo shows them and as it exports them to VTK."""

import os
import subprocess
from xml.etree import ElementTree

import meshio

_create = meshio.CellBlock.__init__


def _create_any(block, cell_type, *arguments):
    """meshio 7.0 does not know the dimension of wedge15: create it as a linear wedge."""
    _create(block, "wedge" if cell_type == "wedge15" else cell_type, *arguments)
    block.type = cell_type


meshio.CellBlock.__init__ = _create_any


def _mekinfo(*arguments):
    command = [os.environ["MEKINFO"], *arguments]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, encoding="utf-8").stdout


def shown(path):
    """Return head, blocks and tree as strings; mekinfo checks all rules of the format first."""
    _mekinfo("--check", path)
    return _mekinfo(path).split("\n\n")


def tree(path):
    return shown(path)[2]


def meshes(collection):
    """Return the meshes that a .pvd file lists, each with its step, its time and its path."""
    read = []
    for entry in ElementTree.parse(collection).iter("DataSet"):
        read.append(meshio.read(collection.parent / entry.get("file")))
        read[-1].name, read[-1].step = entry.get("name"), entry.get("step")
        read[-1].time = float(entry.get("timestep"))
    return read


def exported(path):
    folder = path.with_suffix(".parts")
    _mekinfo("--vtu", folder, path)
    return meshes(folder / f"{path.stem}.pvd")
