"""The VTK export of mekinfo: placements, links, times, and arrays that do not fit the mesh."""

import mekfile
import numpy as np
import pytest
from mekapi2 import Model, Step
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOXML import vtkXMLUnstructuredGridReader

BRICK = [[x, y, z] for z in (0, 1) for x, y in ((0, 0), (1, 0), (1, 1), (0, 1))]
POINTS = np.float32([*BRICK, [0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]])
ROWS = {"HE8": np.arange(8), "TE4": np.arange(8, 12)}


def write(path):
    with Model(path) as model:
        model.add_node("RootGroup", "one & all")
        model.set_node_data(1, {"Translation": [10, 0, 0]})
        shapes = [model.add_node("Shape", "HE8")]
        model.set_current_node(1)
        turn = {"Rotation": [0, 0, 2, np.float32(np.pi / 2)], "Scale": [2, 1, 1]}  # axis not unit
        model.set_node_data(model.add_node("Group", "placed"), {**turn, "Translation": [0, 100, 0]})
        shapes.append(model.add_node("Shape", "TE4"))
        for shape, nodes in zip(shapes, ROWS.values()):
            model.set_node_data(shape, {"DiffuseColor": [0.25, 0.5, 0.75]})
            model.add_array("Connectivity2", nodes, shape)  # the name has the nodes per element
        model.add_array("Coordinates", POINTS, shapes)
        for time in (0.5, 0.1):  # the export sorts by time
            step = Step(f"Step t={time}", {"Time": np.float32(time)})
            model.add_array("Displacement3", POINTS + time, shapes, steps=step)
            model.add_array("ResultB1", [time], shapes, name="E\x01<", steps=step)
            model.add_array("ResultA1", [time] * 2, shapes[0], name="LOST", steps=step)


@pytest.mark.parametrize("options", [(), ("--raw",)])
def test_exports_shapes_and_results(tmp_path, capfd, options):
    write(tmp_path / "sample.mek")
    meshes = mekfile.exported(tmp_path / "sample.mek", *options)
    assert capfd.readouterr().err == (
        f'mekinfo: {tmp_path / "sample.mek"}: '
        '"LOST" of "one & all/HE8" has 2 rows for 12 nodes; written as field data\n'
    )
    assert [mesh.name for mesh in meshes] == 2 * ["one & all/HE8", "one & all/placed/TE4"]
    for mesh, time in zip(meshes, [0.1, 0.1, 0.5, 0.5]):
        rows = ROWS[mesh.name[-3:]]
        points, displacement = POINTS[rows] + [10, 0, 0], POINTS[rows] + time
        if mesh.name.endswith("TE4"):  # turned and scaled; displacements are not translated
            points = [[10, 100, 0], [10, 102, 0], [9, 100, 0], [10, 100, 1]]
            displacement = displacement[:, [1, 0, 2]] * [-1, 2, 1]
        else:
            np.testing.assert_array_equal(mesh.field_data["LOST"], np.float32([time] * 2))
        assert (mesh.time, mesh.step) == (time, f"Step t={time}")
        assert mesh.field_data["TimeValue"] == time
        np.testing.assert_allclose(mesh.points, points, atol=1e-5)
        np.testing.assert_allclose(mesh.point_data["Displacement"], displacement, atol=1e-5)
        np.testing.assert_array_equal(mesh.cells[0].data, [range(len(rows))])
        assert mesh.cell_data["E <"][0] == np.float32(time)
        np.testing.assert_allclose(mesh.field_data["Diffuse Color"], [[0.25, 0.5, 0.75, 1]])


def test_vtk_reads_arrays_of_several_compressed_blocks(tmp_path):
    points = np.random.default_rng(1).random((100_000, 3), np.float32)
    cells = np.arange(70_000)[:, None] + np.arange(4)
    with Model(tmp_path / "a.mek") as model:
        (shape,) = model.add_assembly_components(["/r/s"])
        model.add_array("Coordinates", points, shape)
        model.add_array("Connectivity2", cells, shape, polylength=True)
        model.add_array("ResultA3", -points, shape, name="T")
    mekfile.exported(tmp_path / "a.mek")
    reader = vtkXMLUnstructuredGridReader()
    reader.SetFileName(str(tmp_path / "a.parts" / "a-0-s-0.vtu"))
    reader.Update()
    grid = reader.GetOutput()
    for array, expected in (
        (grid.GetPoints().GetData(), points[:70_003]),
        (grid.GetPointData().GetArray("T"), -points[:70_003]),
        (grid.GetCells().GetConnectivityArray(), cells.ravel()),
        (grid.GetCells().GetOffsetsArray(), np.arange(0, 280_001, 4)),
        (grid.GetCellTypesArray(), np.full(70_000, 10, np.uint8)),
    ):
        found = vtk_to_numpy(array)
        assert found.dtype == expected.dtype and np.array_equal(found, expected)
