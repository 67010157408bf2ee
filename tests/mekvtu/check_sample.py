"""Exports the container of sample.cpp and confirms with meshio what the files say.

Usage: check_sample.py SAMPLE_PROGRAM MEKINFO; exits 77 where meshio is missing.
"""
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

try:
    import meshio
    import numpy as np
except ImportError as error:
    print(f"skipped: {error}")
    sys.exit(77)

# meshio 7.0 knows how many nodes this cell has, but not its dimension.
meshio._mesh.topological_dimension.setdefault("wedge15", 3)

# Which corners the middle nodes of VTK's cells lie between, from its documentation.
TOP_AND_BOTTOM = [(0, 1), (1, 2), (2, 3), (3, 0), (4, 5), (5, 6), (6, 7), (7, 4)]
EDGES = {
    "HE20": TOP_AND_BOTTOM + [(0, 4), (1, 5), (2, 6), (3, 7)],
    "PE15": [(0, 1), (1, 2), (2, 0), (3, 4), (4, 5), (5, 3), (0, 3), (1, 4), (2, 5)],
    "TE10": [(0, 1), (1, 2), (2, 0), (0, 3), (1, 3), (2, 3)],
    "TR6": [(0, 1), (1, 2), (2, 0)],
    "QU8": [(0, 1), (1, 2), (2, 3), (3, 0)],
    "BE3": [(0, 1)],
}
CELLS = {
    "HE8": "hexahedron", "PE6": "wedge", "TE4": "tetra", "HE20": "hexahedron20",
    "PE15": "wedge15", "TE10": "tetra10", "TR3": "triangle", "TR6": "triangle6",
    "QU4": "quad", "QU8": "quad8", "BE2": "line", "BE3": "line3",
}
STEPS = [("0.1", 0.1), ("0.5", 0.5)]


def expected(rows, columns, start):
    """The values of sample.cpp's table, for rows of the coordinates."""
    steps = 10 * np.asarray(rows)[:, None] + np.arange(columns)
    return np.float32(start) + steps.astype(np.float32)


def bits(values):
    return np.ascontiguousarray(values, dtype=np.float32).view(np.uint32)


def check_nodes(shape, mesh):
    """The nodes of the one cell are where its VTK type wants them."""
    (block,) = mesh.cells
    assert block.type == CELLS[shape], (shape, block.type)
    at = mesh.points[block.data[0]].astype(float)
    corners = len(at) - len(EDGES.get(shape, []))
    for node, (a, b) in zip(at[corners:], EDGES.get(shape, [])):
        assert np.allclose(node, (at[a] + at[b]) / 2), (shape, at)
    if shape in ("PE6", "PE15"):
        # the first face of VTK's wedge is seen from outside; meshio itself turns linear ones
        outward = np.dot(np.cross(at[1] - at[0], at[2] - at[0]), at[3] - at[0]) < 0
        assert outward == (shape == "PE15")


def check_results(shape, mesh, start):
    rows = mesh.point_data["vtkOriginalPointIds"]
    assert np.array_equal(mesh.point_data["Node Ids"], 1000 + 3 * rows)
    stress = bits(mesh.point_data["STRESS"])
    right = bits(expected(rows, 6, start))
    if shape == "HE8":  # has row 1
        right[0, 0], right[0, 1] = 0x7FC12345, 0x80000000
    assert np.array_equal(stress, right)
    displacement = expected(rows, 3, start).astype(float)
    if shape == "TE4":  # turned by a quarter and scaled, but not moved
        displacement = displacement[:, [1, 0, 2]] * [-1, 2, 1]
    assert np.allclose(mesh.point_data["Displacement"], displacement)


def check_shape(shape, mesh, start):
    check_nodes(shape, mesh)
    check_results(shape, mesh, start)
    number = list(CELLS).index(shape)
    assert mesh.cell_data["Element IDs"][0] == [500 + number]
    assert mesh.cell_data["ENERGY <\ufffd"][0] == np.float32(7 + np.float32(start))
    assert np.allclose(mesh.field_data["Diffuse Color"], [[0.25, 0.5, 0.75, 1]])
    assert mesh.field_data["TimeValue"] == [start]
    if shape == "TE4":
        corners = [[10, 100, 0], [10, 102, 0], [9, 100, 0], [10, 100, 1]]
        assert np.allclose(mesh.points, corners, atol=1e-6)
    elif shape == "HE8":
        assert bits(mesh.points[1]).tolist() == bits([11, 0, 0]).tolist()
        assert np.array_equal(mesh.field_data["LOST"], expected([0, 1], 1, start)[:, 0])


def check_unused_node(mesh, start):
    assert mesh.cells[0].type == "vertex" and mesh.points.tolist() == [[5, -5, -5]]
    assert mesh.point_data["Node Ids"].tolist() == [1000]
    assert np.array_equal(mesh.point_data["STRESS"], expected([0], 6, start))
    assert not mesh.cell_data and "LOST" not in mesh.field_data


def main(sample, mekinfo):
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        subprocess.run([sample, folder / "sample.mek"], check=True)
        run = subprocess.run([mekinfo, "--vtu", folder / "out", folder / "sample.mek"],
                             check=True, capture_output=True, text=True)
        assert run.stdout.endswith("sample.pvd: 13 parts, 2 steps, 26 files\n"), run.stdout
        assert run.stderr == (
            'mekinfo: "LOST" of "one & all/HE8" has 2 rows for 90 nodes; '
            "it stands in the field data\n"), run.stderr
        entries = list(ElementTree.parse(folder / "out/sample.pvd").getroot().iter("DataSet"))
        for entry, (step, (time, start)) in zip(entries, ((i // 13, STEPS[i // 13]) for i in range(26))):
            mesh = meshio.read(folder / "out" / entry.get("file"))
            name = entry.get("name")
            assert entry.get("timestep") == time and entry.get("step").startswith(f"Step t={time}")
            if name.endswith("(nodes without elements)"):
                check_unused_node(mesh, start)
            else:
                check_shape(name.split("/")[-1], mesh, start)
        assert len(entries) == 26 and entries[2].get("name") == "one & all/placed/TE4"


main(*sys.argv[1:])
