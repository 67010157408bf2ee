"""Mesh files of many formats, written by meshio, converted and compared with what meshio reads."""

import contextlib
import json
import os
import subprocess
import sys

import container
import h5py
import meshio
import netCDF4
import numpy as np
import pytest
from mekapi2.convert import convert
from mekapi2.convert.__main__ import main

RANDOM = np.random.default_rng(7)
POINTS = np.array([[x, y, z] for z in (0, 1) for y in (0, 1, 2) for x in (0, 1, 2)], float)
CELLS = [
    ("hexahedron", [[0, 1, 4, 3, 9, 10, 13, 12], [3, 4, 7, 6, 12, 13, 16, 15]]),
    ("wedge", [[1, 2, 5, 10, 11, 14], [1, 5, 4, 10, 14, 13]]),
    ("tetra", [[4, 5, 7, 13]]),
]
# shape name, index of Connectivity and Polylength, nodes
ELEMENTS = {
    "vertex": ("VERTEX1", 0, 1), "line": ("BE2", 0, 2), "line3": ("BE3", 0, 3),
    "triangle": ("TR3", 1, 3), "triangle6": ("TR6", 1, 6), "quad": ("QU4", 1, 4),
    "quad8": ("QU8", 1, 8), "quad9": ("QU9", 1, 9), "polygon": ("PG5", 1, 5),
    "tetra": ("TE4", 2, 4), "tetra10": ("TE10", 2, 10), "pyramid": ("PY5", 2, 5),
    "wedge": ("PE6", 2, 6), "wedge15": ("PE15", 2, 15), "hexahedron": ("HE8", 2, 8),
    "hexahedron20": ("HE20", 2, 20), "hexahedron27": ("HE27", 2, 27),
}
# where the nodes of a file's element stand in that of a VTU, and of a deck, if not in their places
ORDERS = {
    "wedge15": [0, 2, 1, 3, 5, 4, 8, 7, 6, 12, 14, 13, 11, 10, 9],
    "hexahedron20": [*range(12), 16, 17, 18, 19, 12, 13, 14, 15],
}
DECK_ORDERS = {**ORDERS, "wedge15": [*range(9), 12, 13, 14, 9, 10, 11]}


def fields(widths, rows):
    return {
        name: RANDOM.random((rows, width) if width > 1 else rows).astype(np.float32)
        for name, width in widths.items()
    }


def cell_fields(cells):
    return {
        "q": [RANDOM.random(len(data)) for _, data in cells],
        "material": [np.arange(len(data)) for _, data in cells],
    }


def mesh(point_widths=None, cell_data=None, **more):
    return meshio.Mesh(
        POINTS, CELLS, fields(point_widths or {}, len(POINTS)), cell_data or {}, **more
    )


def geometries(path):
    """The geometries by their shapes' names, or by longer paths where these are not unique."""
    return {
        path.split("/", 1)[1].rsplit("/", 1)[0]: node
        for path, node in container.by_path(container.read(path)).items()
        if node.type == "Geometry"
    }


def check(variable, expected):
    written = variable.values.reshape(len(variable.values), -1)
    expected = np.asarray(expected)
    np.testing.assert_array_equal(written, expected.reshape(written.shape).astype(written.dtype))


def check_mesh(found, blocks, points, ids=None, orders=ORDERS):
    """Every shape has the points and ids of all nodes and the elements of its block."""
    first = 1
    for (kind, nodes), geometry in zip(blocks, found, strict=True):
        name, index, count = ELEMENTS[kind]
        variables = geometry.variables
        assert geometry.name.split(" ")[0] == name
        check(variables["Coordinates"], points)
        check(variables["Node Ids"], np.arange(1, len(points) + 1) if ids is None else ids)
        check(variables["Element IDs"], np.arange(first, first + len(nodes)))
        check(variables["Connectivity"], np.asarray(nodes)[:, orders.get(kind, range(count))])
        check(variables["Polylength"], [count] * len(nodes))
        assert (variables["Connectivity"].type, variables["Polylength"].type) == (4 + index, 9)
        first += len(nodes)
    assert all(geometry.variables["Coordinates"].link for geometry in found[1:])


FORMATS = [
    ("a.vtu", None, {"T": 1, "U": 3, "S": 6}, True),
    ("a.vtk", None, {"T": 1, "U": 3}, True),
    ("a.xdmf", None, {"T": 1, "U": 3, "S": 6}, True),
    ("a.e", "exodus", {"T": 1}, False),
    ("a.med", None, {"T": 1, "U": 3}, True),
    ("a.inp", "abaqus", {}, False),
    ("a.msh", "gmsh22", {"T": 1, "U": 3}, False),
    ("a.bdf", "nastran", {}, False),
    ("a.mesh", "medit", {}, False),
]


@pytest.mark.parametrize("name, file_format, point_widths, has_cell_data", FORMATS)
def test_keeps_what_meshio_reads(tmp_path, name, file_format, point_widths, has_cell_data):
    path = tmp_path / name
    written = mesh(point_widths, cell_fields(CELLS) if has_cell_data else None)
    meshio.write(path, written, file_format=file_format)

    assert main([str(path)]) == 0

    found = list(geometries(path.with_suffix(".mek")).values())
    check_mesh(found, CELLS, POINTS)
    for result, values in written.point_data.items():
        assert found[0].variables[result].type == {1: 12, 3: 13, 6: 14}[point_widths[result]]
        for geometry in found:
            check(geometry.variables[result], values)
    for result, blocks in written.cell_data.items():
        for geometry, values in zip(found, blocks):
            assert geometry.variables[result].type == 16
            check(geometry.variables[result], values)


def test_names_and_orders_all_element_types(tmp_path):
    points = RANDOM.random((50, 3))
    blocks = [
        (kind, [RANDOM.permutation(len(points))[:count] for _ in range(2)])
        for kind, (_, _, count) in ELEMENTS.items()
    ]
    blocks += [("quad", [[3, 2, 1, 0]])]
    meshio.write(tmp_path / "all.vtu", meshio.Mesh(points, blocks))

    convert(tmp_path / "all.vtu")

    found = geometries(tmp_path / "all.mek")
    assert list(found)[-1] == "Mesh/QU4 (2)"
    check_mesh(list(found.values()), blocks, points)

    deck = [(kind, nodes) for kind, nodes in blocks if kind in DECK_ORDERS]
    meshio.write(tmp_path / "deck.inp", meshio.Mesh(points, deck))
    found = geometries(convert(tmp_path / "deck.inp").output).values()
    check_mesh(list(found), deck, points, orders=DECK_ORDERS)


def test_splits_other_widths_and_keeps_names_apart(tmp_path):
    values = fields({"pair": 2, "nine": 9, "same": 1, "Coordinates": 1}, len(POINTS))
    values["holes"] = np.where(values["same"] > 0.5, np.nan, -np.inf)
    values["GlobalNodeId"] = np.arange(len(POINTS))[::-1] * 10
    cells = {"same": [RANDOM.random((len(data), 3)) for _, data in CELLS]}
    written = meshio.Mesh(POINTS, CELLS, values, cells)
    meshio.write(tmp_path / "a.xdmf", written)

    convert(tmp_path / "a.xdmf", tmp_path / "b.mek")

    found = list(geometries(tmp_path / "b.mek").values())
    check_mesh(found, CELLS, POINTS, ids=values["GlobalNodeId"])
    variables = found[1].variables
    for column in range(2):
        check(variables[f"pair.{column + 1}"], values["pair"][:, column])
    check(variables["nine.9"], values["nine"][:, 8])
    check(variables["same"], values["same"])
    check(variables["holes"], values["holes"])
    check(variables["Coordinates (2)"], values["Coordinates"])
    check(variables["same (2)"], cells["same"][1])
    assert "GlobalNodeId" not in variables and variables["same (2)"].type == 17


def test_groups_sets_and_field_data(tmp_path):
    tags = [np.full(2, 7), np.array([7, 9]), np.full(1, 9)]
    written = mesh({}, {"gmsh:physical": tags, "gmsh:geometrical": tags})
    written.field_data = {"steel": np.array([7, 3]), "skin": np.array([7, 2])}
    meshio.write(tmp_path / "g.msh", written, file_format="gmsh22", binary=False)
    families = [np.array([-1, 0]), np.array([-2, -1]), np.array([0])]
    tagged = mesh({}, {"cell_tags": families})
    tagged.cell_tags = {-1: ["hot"], -2: ["hot", "edge"]}
    tagged.point_tags = {}
    meshio.write(tmp_path / "f.med", tagged)
    deck = ["*NODE", "1,0,0", "2,1,0", "3,1,1", "4,0,1", "*ELEMENT, TYPE=CPS3, ELSET=LEFT"]
    deck += ["5,1,2,3", "*ELEMENT, TYPE=CPS3, ELSET=RIGHT", "6,1,3,4", "*NSET, NSET=FIX", "1,4"]
    (tmp_path / "s.inp").write_text("\n".join(deck))

    for name in ("g.msh", "f.med", "s.inp"):
        convert(tmp_path / name)

    gmsh = container.read(tmp_path / "g.mek")
    assert list(geometries(tmp_path / "g.mek")) == ["steel/HE8", "Mesh/PE6", "Physical 9/TE4"]
    told = {"Source format": "gmsh", "Source file": "g.msh", "Dimension": 3}
    tags = {"steel.1": 7, "steel.2": 3, "skin.1": 7, "skin.2": 2}
    assert gmsh[1].attributes == {**told, **tags}
    bricks, wedges, _ = geometries(tmp_path / "f.mek").values()
    check(bricks.variables["Set hot"], [1, 0])
    check(wedges.variables["Set hot"], [1, 1])
    check(wedges.variables["Set edge"], [1, 0])
    left, right = geometries(tmp_path / "s.mek").values()
    assert (left.parent, right.parent) == (3, 6)
    check(left.variables["Coordinates"], [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]])
    check(right.variables["Set FIX"], [1, 0, 0, 1])
    check(right.variables["Set RIGHT"], [1])
    assert "Set RIGHT" not in left.variables
    assert container.read(tmp_path / "s.mek")[1].attributes["Dimension"] == 2


TIMES = (0.0, 0.1, 2.5)
ONES = [[np.ones(len(data)) for _, data in CELLS]] * 3
STEPS = ("Step 1 t=0", "Step 2 t=0.1", "Step 3 t=2.5")


def write_xdmf(folder, values, cells):
    with contextlib.chdir(folder), meshio.xdmf.TimeSeriesWriter("t.xdmf") as writer:
        writer.write_points_cells(POINTS, CELLS)
        for time, value, cell in zip(TIMES, values, cells):
            writer.write_data(time, point_data={"T": value}, cell_data={"q": cell})
    return folder / "t.xdmf"


def write_files(folder, values, cells):
    for number, (value, cell) in enumerate(zip(values, cells)):
        data = meshio.Mesh(POINTS, CELLS, {"T": value}, {"q": cell})
        meshio.write(folder / f"{number}.vtu", data)


def write_pvd(folder, values, cells, text='<DataSet timestep="{}" file="{}.vtu"/>', times=TIMES):
    write_files(folder, values, cells)
    files = "".join(text.format(time, number) for number, time in enumerate(times))
    (folder / "t.pvd").write_text(f"<VTKFile><Collection>{files}</Collection></VTKFile>")
    return folder / "t.pvd"


def write_series(folder, values, cells):
    write_files(folder, values, cells)
    files = [{"name": f"{number}.vtu", "time": time} for number, time in enumerate(TIMES)]
    (folder / "t.series").write_text(json.dumps({"files": files}))
    return folder / "t.series"


def write_exodus(folder, values, cells):
    path = folder / "t.e"
    meshio.write(path, meshio.Mesh(POINTS, CELLS, {"T": values[0]}), file_format="exodus")
    with netCDF4.Dataset(path, "a") as data:
        data["time_whole"][:] = TIMES
        data["vals_nod_var1"][:] = values
        data.createDimension("num_elem_var", 1)
        names = data.createVariable("name_elem_var", "S1", ("num_elem_var", "len_string"))
        names[0, 0] = b"q"
        for block in range(len(CELLS)):
            shape = ("time_step", f"num_el_in_blk{block + 1}")
            variable = data.createVariable(f"vals_elem_var1eb{block + 1}", "f8", shape)
            variable[:] = [cell[block] for cell in cells]
    return path


def write_med(folder, values, cells):
    path = folder / "t.med"
    meshio.write(path, meshio.Mesh(POINTS, CELLS, {"T": values[0]}, {"q": cells[0]}))
    with h5py.File(path, "a") as data:
        for number in (1, 2):
            for name in ("T", "q"):
                (first, *_) = sorted(data["CHA"][name])
                later = f"{first[:-1]}{number + 1}"
                data["CHA"][name].copy(first, later)
                step = data["CHA"][name][later]
                step.attrs["PDT"] = TIMES[number]
                for support, block in zip(sorted(step), (0, 1, 2)):
                    content = step[support]["MED_NO_PROFILE_INTERNAL"]["CO"]
                    content[...] = values[number] if name == "T" else cells[number][block]
    return path


@pytest.mark.parametrize("write", [write_xdmf, write_pvd, write_series, write_exodus, write_med])
def test_time_series_become_steps(tmp_path, write):
    values = RANDOM.random((3, len(POINTS))).astype(np.float32)
    cells = [[RANDOM.random(len(data)).astype(np.float32) for _, data in CELLS] for _ in TIMES]

    summary = convert(write(tmp_path, values, cells))

    found = list(geometries(summary.output).values())
    check_mesh(found, CELLS, POINTS)
    assert (summary.counts.steps, summary.counts.results, summary.counts.warnings) == (3, 2, [])
    for number, step in enumerate(STEPS):
        assert found[0].variables[f"T\x1e{step}"].attributes == {
            "Number": number + 1, "Time": np.float32(TIMES[number])
        }
        for block, geometry in enumerate(found):
            check(geometry.variables[f"T\x1e{step}"], values[number])
            check(geometry.variables[f"q\x1e{step}"], cells[number][block])


def test_parts_of_a_collection_are_groups(tmp_path):
    values = RANDOM.random((2, len(POINTS)))
    text = '<DataSet timestep="{0}" name="Rotor {1}" file="{1}.vtu"/>'

    summary = convert(write_pvd(tmp_path, values, ONES, text, (0, 0)))

    found = geometries(summary.output)
    names = [f"Rotor {part}/{name}" for part in (0, 1) for name in ("HE8", "PE6", "TE4")]
    assert list(found) == names and found["Rotor 1/HE8"].variables["T"].link is None
    check_mesh(list(found.values())[3:], CELLS, POINTS)


def test_refuses_bad_input_and_leaves_no_output(tmp_path, capsys):
    write_pvd(tmp_path, RANDOM.random((2, len(POINTS))), ONES)
    meshio.write(tmp_path / "1.vtu", meshio.Mesh(POINTS + 1, CELLS))
    meshio.write(tmp_path / "2.vtu", meshio.Mesh(POINTS, CELLS))
    (tmp_path / "cut.vtu").write_bytes((tmp_path / "0.vtu").read_bytes()[:700])
    (tmp_path / "cut.xdmf").write_text("<Xdmf")
    (tmp_path / "x.unknown").write_text("")
    (tmp_path / "lost.pvd").write_text('<V><C><DataSet file="none.vtu"/></C></V>')
    (tmp_path / "far.obj").write_text("v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n")
    cases = {
        "none.vtu": "no such file", "cut.vtu": "not read as vtu", "cut.xdmf": "not read as xdmf",
        "x.unknown": "no format has the suffix '.unknown'", "lost.pvd": "none.vtu",
        "t.pvd": "1.vtu: the mesh is not that of", "far.obj": "has the node 8",
    }
    for name, message in cases.items():
        assert main([str(tmp_path / name), str(tmp_path / "out.mek")]) == 1
        error = capsys.readouterr().err
        assert error.startswith(f"mekapi2.convert: {tmp_path / name}: ") and message in error
        assert not list(tmp_path.glob("*.mek*"))


def test_leaves_alone_what_is_not_its_own(tmp_path, capsys):
    good, kept, pipe = (tmp_path / name for name in ("good.vtu", "kept.mek", "pipe"))
    meshio.write(good, mesh({"T": 1}))
    content = good.read_bytes()
    kept.write_bytes(b"kept")
    os.mkfifo(pipe)
    for output, options, message in [
        (kept, [], "kept.mek exists; use --overwrite to replace it"),
        (kept, ["--overwrite", "--format", "stl"], "not read as stl"),
        (good, ["--overwrite"], "input and output are the same file"),
        (pipe, ["--overwrite"], "pipe is not a regular file"),
        (tmp_path / "none" / "x.mek", [], 'Unable to open file "'),
    ]:
        assert main([str(good), str(output), *options]) == 1
        assert message in capsys.readouterr().err
    assert (kept.read_bytes(), good.read_bytes()) == (b"kept", content) and pipe.is_fifo()
    assert main([str(good), str(kept), "--overwrite"]) == 0 and kept.read_bytes() != b"kept"
    assert sorted(path.name for path in tmp_path.iterdir()) == ["good.vtu", "kept.mek", "pipe"]


def test_command_prints_a_summary_and_progress_on_a_terminal(tmp_path):
    path = write_series(tmp_path, np.ones((3, 18)), ONES)
    command = [sys.executable, "-m", "mekapi2.convert", path, "--overwrite"]
    terminal, side = os.openpty()
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=side, text=True)
    os.close(side)
    sizes = [sum(file.stat().st_size for file in tmp_path.glob(f"*.{kind}"))
             for kind in ("[sv]*", "mek")]  # fmt: skip
    assert run.stdout == (
        f"{tmp_path / 't.mek'}: 18 nodes, 5 elements, 3 shapes, 2 results, 3 steps, "
        f"{sizes[0]} bytes in, {sizes[1]} bytes out\n"
    )
    assert run.returncode == 0 and b"100%" in os.read(terminal, 65536)
