"""What mekinfo hands on to VTK: placements, links, bits, and values that fit no mesh."""

import mekfile
import numpy as np
from mekapi2 import Model, Step

# The first node is in no element; the others are the corners of a hexahedron and a tetrahedron.
BRICK = [[x, y, z] for z in (0, 1) for x, y in ((0, 0), (1, 0), (1, 1), (0, 1))]
TETRA = [[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]]
POINTS = np.array([[-5, -5, -5], *BRICK, *TETRA])
ROWS = {"HE8": np.arange(1, 9), "TE4": np.arange(9, 13)}
BITS = np.uint32([0x7FC12345, 0x80000000])  # a NaN with a payload, and -0


def table(rows, columns, start):
    steps = 10 * np.asarray(rows)[:, None] + np.arange(columns)
    values = np.float32(start) + steps.astype(np.float32)
    if columns == 6:
        values[np.asarray(rows) == 1, :2] = BITS.view(np.float32)
    return values


def write(path):
    rows = np.arange(len(POINTS))
    with Model.create(path) as model:
        model.add_node("RootGroup", "one & all")
        model.set_node_data(1, {"Translation": [10, 0, 0]})
        shapes = [model.add_node("Shape", "HE8")]
        model.set_current_node(1)
        turn = {"Rotation": [0, 0, 2, np.float32(np.pi / 2)], "Scale": [2, 1, 1]}  # axis too long
        model.set_node_data(model.add_node("Group", "placed"), {**turn, "Translation": [0, 100, 0]})
        shapes.append(model.add_node("Shape", "TE4"))
        for shape, nodes in zip(shapes, ROWS.values()):
            model.set_node_data(shape, {"DiffuseColor": [0.25, 0.5, 0.75]})
            model.add_array("Connectivity2", nodes, shape)  # the name tells how many an element has
            model.add_array("ElementIds", [500 + len(nodes)], shape)
        model.add_array("Coordinates", POINTS, shapes)
        model.add_array("NodeIds", 1000 + 3 * rows, shapes)
        for time in (0.5, 0.1):  # to be told by time, not by order
            for kind, name, values, ids in [
                ("ResultA6", "STRESS", table(rows, 6, time), shapes),
                ("Displacement3", None, table(rows, 3, time), shapes),
                ("ResultB1", "E\x01<", table([0], 1, 7 + time), shapes),
                ("ResultA1", "LOST", table([0, 1], 1, time), shapes[0]),
            ]:
                step = Step(f"Step t={time}", {"Time": np.float32(time)})
                model.add_array(kind, values, ids, name=name, steps=[step])


def check_shape(shape, mesh, time):
    rows = ROWS[shape]
    points, displacement = POINTS[rows] + [10, 0, 0], table(rows, 3, time).astype(float)
    if shape == "TE4":  # turned by a quarter and scaled; its displacements are not moved
        points = [[10, 100, 0], [10, 102, 0], [9, 100, 0], [10, 100, 1]]
        displacement = displacement[:, [1, 0, 2]] * [-1, 2, 1]
    else:
        np.testing.assert_array_equal(mesh.field_data["LOST"], table([0, 1], 1, time)[:, 0])
    np.testing.assert_allclose(mesh.points, points, atol=1e-6)
    np.testing.assert_allclose(mesh.point_data["Displacement"], displacement, rtol=1e-5)
    np.testing.assert_array_equal(mesh.point_data["Node Ids"], 1000 + 3 * rows)
    np.testing.assert_array_equal(mesh.point_data["vtkOriginalPointIds"], rows)
    stress = np.ascontiguousarray(mesh.point_data["STRESS"], np.float32)
    np.testing.assert_array_equal(stress.view(np.uint32), table(rows, 6, time).view(np.uint32))
    np.testing.assert_array_equal(mesh.cells[0].data, [range(len(rows))])
    assert mesh.cell_data["Element IDs"][0] == [500 + len(rows)]
    assert mesh.cell_data["E <"][0] == np.float32(7 + time)
    np.testing.assert_allclose(mesh.field_data["Diffuse Color"], [[0.25, 0.5, 0.75, 1]])


def test_shapes_and_results_reach_vtk(tmp_path, capfd):
    write(tmp_path / "sample.mek")
    meshes = mekfile.exported(tmp_path / "sample.mek")
    assert capfd.readouterr().err == (
        'mekinfo: "LOST" of "one & all/HE8" has 2 rows for 13 nodes; it stands in the field data\n'
    )
    names = ["one & all/HE8", "one & all/placed/TE4", "one & all/HE8 (nodes without elements)"]
    assert [mesh.name for mesh in meshes] == 2 * names
    for mesh, time in zip(meshes, [0.1] * 3 + [0.5] * 3):
        assert (mesh.time, mesh.step) == (time, f"Step t={time}")
        np.testing.assert_allclose(mesh.field_data["TimeValue"], [time])
    for mesh in meshes[:2] + meshes[3:5]:
        check_shape(mesh.name.split("/")[-1], mesh, mesh.time)
    for mesh in meshes[2], meshes[5]:
        assert mesh.cells[0].type == "vertex" and mesh.points.tolist() == [[5, -5, -5]]
        assert mesh.point_data["Node Ids"].tolist() == [1000] and not mesh.cell_data
        np.testing.assert_array_equal(mesh.point_data["STRESS"], table([0], 6, mesh.time))
        assert "LOST" not in mesh.field_data
