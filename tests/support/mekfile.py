"""Containers as mekinfo shows them, and as it hands them on to VTK."""

import os
import subprocess
from xml.etree import ElementTree

import meshio

# meshio 7.0 knows how many nodes this cell has, but not its dimension.
meshio._mesh.topological_dimension.setdefault("wedge15", 3)


def _mekinfo(*arguments):
    command = [os.environ["MEKINFO"], *arguments]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, encoding="utf-8").stdout


def shown(path):
    """Head, blocks and tree as texts, once mekinfo has checked every rule of the format."""
    _mekinfo("--check", path)
    return _mekinfo(path).split("\n\n")


def tree(path):
    return shown(path)[2]


def meshes(collection):
    """What a .pvd file names: meshes, each with its step and its path in the tree as name."""
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
