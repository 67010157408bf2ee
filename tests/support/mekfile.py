"""Reads files as mekinfo shows them and as it exports them to VTK."""

import os
import subprocess
from xml.etree import ElementTree

import meshio
import numpy as np
from meshio._mesh import topological_dimension

topological_dimension.setdefault("wedge15", 3)  # meshio reads this type, and does not know it


def _mekinfo(*arguments):
    command = [os.environ["MEKINFO"], *arguments]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, encoding="utf-8").stdout


def shown(path):
    """Return head, blocks and tree as strings; mekinfo checks all rules of the format first."""
    _mekinfo("--check", path)
    return _mekinfo("--all", path).split("\n\n")


def tree(path):
    return shown(path)[2]


def assert_clean(path):
    """Raise an error if mekinfo finds what no viewer can show."""
    _mekinfo("--lint", path)


def check_bits(found, expected, name="", dtype=np.float32):
    """The bits are equal, also those of -0 and NaN."""
    arrays = [np.ascontiguousarray(each, dtype).view(np.uint32) for each in (found, expected)]
    np.testing.assert_array_equal(arrays[0].reshape(arrays[1].shape), arrays[1], name)


def exported(path, *options):
    """Return the exported meshes, each with its path in the tree as name, its step and its time."""
    folder = path.with_suffix(".parts")
    _mekinfo(*options, "--vtu", folder, path)
    meshes = []
    for entry in ElementTree.parse(folder / f"{path.stem}.pvd").iter("DataSet"):
        meshes.append(meshio.read(folder / entry.get("file")))
        meshes[-1].name, meshes[-1].step = entry.get("name"), entry.get("step")
        meshes[-1].time = float(entry.get("timestep"))
    return meshes
