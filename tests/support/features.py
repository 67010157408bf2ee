"""Writes models that each have a feature of the format, and compares what readers find.

A case is a list of `Shape`s for one step. Readers present shapes in this order.
"""

from dataclasses import dataclass

import numpy as np
from mekapi2 import Model, Step
from mekapi2.reader import _elements

SQUARE = np.float32([[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]])
VALUES = np.float32([1, 2.5, np.nan, -4])


@dataclass
class Shape:
    path: str
    points: np.ndarray
    cells: np.ndarray
    point_data: dict


def add_square(model, path, steps=None, points=SQUARE, name="T", values=VALUES):
    """Add a shape below the root, or below a group, with a cell and a result at its nodes."""
    *groups, shape = path.split("|")
    model.set_current_node(1)
    ids = [model.add_node("Group", group) for group in groups] + [model.add_node("Shape", shape)]
    model.add_array("Coordinates", points, ids[-1])
    model.add_array("Connectivity1", [[0, 1, 2, 3]], ids[-1], polylength=True)
    model.add_array("ResultA1", values, ids[-1], name=name, steps=steps)
    return ids


def placements(model):
    group, _ = add_square(model, "placed|QU4", "s")
    turn = {"Rotation": [0, 0, 1, np.float32(np.pi / 2)], "Scale": [2, 1, 1]}
    model.set_node_data(group, {"Translation": [10, 0, 0], **turn})
    points = np.float32([[10, 0, 0], [10, 2, 0], [9, 2, 0], [9, 0, 0]])
    return [Shape("r/placed/QU4", points, [[0, 1, 2, 3]], {"T": VALUES})]


def links(model):
    ids = []
    for name in ("a", "b"):
        model.set_current_node(1)
        ids.append(model.add_node("Shape", name))
    model.add_array("Coordinates", SQUARE, ids)
    model.add_array("Connectivity1", [[0, 1, 2, 3]], ids, polylength=True)
    model.add_array("ResultA1", VALUES, ids, name="T", steps=["first", "s"])
    return [Shape(f"r/{name}", SQUARE, [[0, 1, 2, 3]], {"T": VALUES}) for name in "ab"]


def meshes_of_steps(model):
    (shape,) = add_square(model, "QU4", "first")
    model.add_array("Coordinates", SQUARE + 7, shape, steps="s")
    model.add_array("Connectivity1", [3, 2, 1, 0], shape, steps="s")
    model.add_array("ResultA1", VALUES + 1, shape, name="T", steps="s")
    return [Shape("r/QU4", SQUARE + 7, [[3, 2, 1, 0]], {"T": VALUES + 1})]


def element_kinds(model):
    shapes = []
    for kind in _elements._TYPES:
        model.set_current_node(1)
        shape = model.add_node("Shape", kind.name)
        points = np.float32(np.arange(3 * kind.nodes).reshape(-1, 3))
        model.add_array("Coordinates", points, shape)
        cells = [list(range(kind.nodes))]
        model.add_array(f"Connectivity{kind.dimension - 1}", cells, shape, polylength=True)
        model.add_array("ResultA1", points[:, 0], shape, name="T", steps="s")
        shapes.append(Shape(f"r/{kind.name}", points, cells, {"T": points[:, 0]}))
    return shapes


def empty_arrays(model):
    """The writer stores nothing for them, so that the shape has no arrays."""
    model.add_array("Coordinates", np.zeros((0, 3)), model.add_node("Shape", "nothing"))
    add_square(model, "QU4", "s")
    return [Shape("r/QU4", SQUARE, [[0, 1, 2, 3]], {"T": VALUES})]


def unicode_names(model):
    add_square(model, "模型 ä|QU4", "s", name="σ \U0001f642")
    return [Shape("r/模型 ä/QU4", SQUARE, [[0, 1, 2, 3]], {"σ \U0001f642": VALUES})]


def many_arrays(model):
    """Several blocks, or with small blocks several index tables."""
    shapes = []
    for number in range(100):
        points, values = SQUARE + number, VALUES * number
        add_square(model, f"{number}|QU4", "s", points, values=values)
        shapes.append(Shape(f"r/{number}/QU4", points, [[0, 1, 2, 3]], {"T": values}))
    return shapes


CASES = {case.__name__: case for case in (
    placements, links, meshes_of_steps, element_kinds, empty_arrays, unicode_names,
    many_arrays)}


def write(name, path):
    """Write the model of a case, and return the shapes at step "s"."""
    with Model(path, overwrite=True) as model:
        model.add_node("RootGroup", "r")
        shapes = CASES[name](model)
        for moment, step in enumerate(("first", "s")):
            ids = [model.get_node_id(["r", *shapes[0].path.split("/")[1:]])]
            model.add_array("ResultB1", [moment], ids, name="Time of it",
                            steps=Step(step, {"Time": moment}))
    return shapes


def check_grids(collection, shapes):
    """Compare a collection of VTK."""
    from vtkmodules.util.numpy_support import vtk_to_numpy
    from vtkmodules.vtkCommonDataModel import vtkCompositeDataSet

    assert collection.GetNumberOfPartitionedDataSets() == len(shapes)
    for number, shape in enumerate(shapes):
        assert collection.GetMetaData(number).Get(vtkCompositeDataSet.NAME()) == shape.path
        grid = collection.GetPartition(number, 0)
        points = vtk_to_numpy(grid.GetPoints().GetData())
        np.testing.assert_allclose(points, shape.points, atol=1e-5, err_msg=shape.path)
        (kind,) = np.unique(vtk_to_numpy(grid.GetCellTypesArray()))
        known = {each.name: each for each in _elements._TYPES}.get(shape.path.split("/")[-1])
        cells = np.asarray(shape.cells)
        if known is not None:
            assert kind == known.vtk, shape.path
            cells = cells[:, known.vtk_order] if known.vtk_order else cells
        found = vtk_to_numpy(grid.GetCells().GetConnectivityArray())
        np.testing.assert_array_equal(found, cells.ravel(), shape.path)
        data = grid.GetPointData()
        for name, values in shape.point_data.items():
            np.testing.assert_array_equal(vtk_to_numpy(data.GetArray(name)), values, name)
        assert data.GetNumberOfArrays() <= len(shape.point_data) + 1  # the original rows
        assert grid.GetCellData().GetNumberOfArrays() <= 1  # the time
