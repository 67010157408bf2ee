"""Converts mesh files that meshio wrote, and reads the VTU files that mekinfo exports."""

import contextlib
import json
import os
import re
import signal
import subprocess
import sys

import h5py
import mekfile
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
# by cell type: the name of the shape, which ends in the number of nodes of an element
NAMES = {
    "vertex": "VERTEX1", "line": "BE2", "line3": "BE3", "triangle": "TR3", "triangle6": "TR6",
    "quad": "QU4", "quad8": "QU8", "quad9": "QU9", "polygon": "PG5", "tetra": "TE4",
    "tetra10": "TE10", "pyramid": "PY5", "wedge": "PE6", "wedge15": "PE15", "hexahedron": "HE8",
    "hexahedron20": "HE20", "hexahedron27": "HE27",
}
# VTK orders the nodes of a wedge's first face the other way round; meshio reorders linear wedges.
REVERSED_WEDGE = [0, 2, 1, 3, 5, 4, 8, 7, 6, 11, 10, 9, 12, 14, 13]


def random(*shape):
    return RANDOM.random(shape, np.float32)


def mesh(point_widths=None, cell_data=None, **more):
    widths = (point_widths or {}).items()
    points = {name: random(*[len(POINTS), width][: min(width, 2)]) for name, width in widths}
    return meshio.Mesh(POINTS, CELLS, points, cell_data or {}, **more)


def check(parts, given):
    """The parts are those of the mesh: one for each cell block, and one for unused nodes."""
    count = len(given.points)
    ids = given.point_data.pop("GlobalNodeId", np.arange(1, count + 1))
    sets = {f"Set {name}": np.isin(range(count), of) for name, of in given.point_sets.items()}
    first, used = 1, set()
    for part in parts:
        rows = part.point_data["vtkOriginalPointIds"]
        used.update(rows)
        mekfile.check_bits(part.points[:, : given.points.shape[1]], given.points[rows])
        np.testing.assert_array_equal(part.point_data["Node Ids"], ids[rows])
        for name, values in {**given.point_data, **sets}.items():
            mekfile.check_bits(part.point_data[name], values[rows], name)
    assert used == set(range(count)) and len(given.cells) <= len(parts) <= len(given.cells) + 1
    for number, (block, part) in enumerate(zip(given.cells, parts)):
        (cells,) = part.cells
        assert cells.type == block.type
        rows = part.point_data["vtkOriginalPointIds"][cells.data]
        np.testing.assert_array_equal(rows, block.data, block.type)
        elements = part.cell_data["Element IDs"][0]
        np.testing.assert_array_equal(elements, np.arange(first, first + len(block)))
        first += len(block)
        for name, blocks in given.cell_data.items():
            mekfile.check_bits(part.cell_data[name][0], blocks[number], name)


def all_element_types():
    """Return points, and a block of two elements of each type."""
    counts = {kind: int(re.sub("[A-Z]", "", name)) for kind, name in NAMES.items()}
    return random(50, 3), [(kind, [RANDOM.permutation(50)[:count] for _ in range(2)])
                           for kind, count in counts.items()]  # fmt: skip


def test_names_and_orders_all_element_types(tmp_path):
    points, blocks = all_element_types()
    blocks.append(("quad", [[3, 2, 1, 0]]))
    meshio.write(tmp_path / "all.vtu", meshio.Mesh(points, blocks))
    deck_types = ("wedge15", "hexahedron20")
    deck = meshio.Mesh(points, [block for block in blocks if block[0] in deck_types])
    meshio.write(tmp_path / "deck.inp", deck)

    for name in ("all.vtu", "deck.inp"):  # in a process in which mekfile has not extended meshio
        subprocess.run([sys.executable, "-m", "mekapi2.convert", tmp_path / name], check=True)

    found = mekfile.exported(tmp_path / "all.mek")
    check(found, meshio.Mesh(points, blocks))
    names = [f"all/Mesh/{name}" for name in (*NAMES.values(), "QU4 (2)")]
    assert [part.name for part in found[: len(names)]] == names
    deck.cells[0].data = deck.cells[0].data[:, REVERSED_WEDGE]
    check(mekfile.exported(tmp_path / "deck.mek"), deck)


def test_splits_other_widths_and_makes_names_unique(tmp_path):
    given = mesh({"pair": 2, "nine": 9, "same": 1, "Coordinates": 1})
    data = given.point_data
    data["holes"] = np.where(data["same"] > 0.5, np.nan, -np.inf)
    data["GlobalNodeId"] = np.arange(len(POINTS))[::-1] * 10
    given.cell_data["same"] = [random(len(nodes), 3) for _, nodes in CELLS]
    meshio.write(tmp_path / "a.xdmf", given)

    convert(tmp_path / "a.xdmf", tmp_path / "b.mek")

    for name, width in (("pair", 2), ("nine", 9)):
        columns = data.pop(name).T
        data.update({f"{name}.{i + 1}": columns[i] for i in range(width)})
    data["Coordinates (2)"] = data.pop("Coordinates")
    given.cell_data["same (2)"] = given.cell_data.pop("same")
    check(mekfile.exported(tmp_path / "b.mek"), given)
    tree = mekfile.tree(tmp_path / "b.mek")
    assert '"same (2)" type 17' in tree and "GlobalNodeId" not in tree


GMSH = """$MeshFormat\n4.1 0 8\n$EndMeshFormat
$PhysicalNames\n2\n2 5 "left"\n2 6 "all"\n$EndPhysicalNames
$Entities\n0 0 2 0\n1 0 0 0 1 1 0 2 5 6 0\n2 1 0 0 2 1 0 1 6 0\n$EndEntities
$Nodes\n1 4 1 4\n2 1 0 4\n1\n2\n3\n4\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n$EndNodes
$Elements\n3 3 1 3\n2 1 2 1\n1 1 2 3\n2 2 2 1\n2 1 3 4\n2 1 2 1\n3 1 2 4\n$EndElements
"""


def shapes(path):
    return re.findall(r'\d+ (?:Group|Shape) "(.*)"', mekfile.tree(path))[1:]


def test_gmsh_has_one_shape_for_each_group_and_type(tmp_path):
    path = tmp_path / "g.msh"
    path.write_text(GMSH)
    convert(path)
    assert shapes(tmp_path / "g.mek") == ["left", "TR3", "all", "TR3"]
    left, right = mekfile.exported(tmp_path / "g.mek")
    assert np.array_equal(left.cells[0].data, [[0, 1, 2], [0, 1, 3]])  # two blocks of one entity
    mekfile.check_bits(left.cell_data["Set all"][0], [1, 1])  # in a second group
    assert [*right.cell_data, *right.point_data] == [
        "Element IDs", "Node Ids", "vtkOriginalPointIds"
    ]  # fmt: skip
    convert(path, overwrite=True, keep_blocks=True)
    assert shapes(tmp_path / "g.mek") == ["left", "TR3", "TR3 (2)", "all", "TR3"]
    path.write_text(re.sub(r"\$Physical[^$]*\$EndP.*\n|\$Ent[^$]*\$EndE.*\n", "", GMSH))
    convert(path, overwrite=True)
    assert shapes(tmp_path / "g.mek") == ["Mesh", "TR3"]
    assert '"Element IDs" type 16: 3 x 1 unsigned, 1 to 3' in mekfile.tree(tmp_path / "g.mek")

    cells = [RANDOM.random(len(nodes)) for _, nodes in CELLS]
    tags = [np.full(2, 7), np.array([7, 9]), np.full(1, 9)]  # a block of cells of two groups
    written = mesh({}, {"gmsh:physical": tags, "gmsh:geometrical": tags, "q": cells})
    written.field_data = {"steel": np.array([7, 3]), "skin": np.array([7, 2])}
    meshio.write(path, written, file_format="gmsh22", binary=False)
    convert(path, overwrite=True)
    assert shapes(tmp_path / "g.mek") == ["steel", "HE8", "PE6", "Physical 9", "PE6", "TE4"]
    parts = mekfile.exported(tmp_path / "g.mek")
    np.testing.assert_array_equal([part.cell_data["q"][0][0] for part in parts[1:4]], np.float32(
        [*written.cell_data["q"][1], *written.cell_data["q"][2]]))  # fmt: skip
    assert "gmsh:" not in mekfile.tree(tmp_path / "g.mek")


def test_converts_tags_sets_and_field_data(tmp_path):
    regions = mesh({}, {"medit:ref": [np.full(2, 1), np.array([1, 2]), np.full(1, 0)]})
    meshio.write(tmp_path / "m.mesh", regions)
    families = [np.array([-1, 0]), np.array([-2, -1]), np.array([0])]
    tagged = mesh({}, {"cell_tags": families})
    tagged.cell_tags = {-1: ["hot"], -2: ["hot", "edge"]}
    tagged.point_tags = {}
    meshio.write(tmp_path / "f.med", tagged)
    deck = ["*NODE", "1,0,0", "2,1,0", "3,1,1", "4,0,1", "*ELEMENT, TYPE=CPS3, ELSET=LEFT"]
    deck += ["5,1,2,3", "*ELEMENT, TYPE=CPS3, ELSET=RIGHT", "6,1,3,4", "*NSET, NSET=FIX", "1,4"]
    (tmp_path / "s.inp").write_text("\n".join(deck))
    meshio.write(tmp_path / "d.vtu", mesh({}))
    array = '<DataArray type="Int64" Name="load" NumberOfTuples="2" format="ascii">7 2</DataArray>'
    text = (tmp_path / "d.vtu").read_text()
    text = text.replace("<UnstructuredGrid>", f"<UnstructuredGrid><FieldData>{array}</FieldData>")
    (tmp_path / "d.vtu").write_text(text)

    for name in ("m.mesh", "f.med", "s.inp", "d.vtu"):
        convert(tmp_path / name)

    assert shapes(tmp_path / "m.mek") == [
        "Region 1", "HE8", "PE6", "Region 2", "PE6", "Mesh", "TE4"
    ]  # fmt: skip
    bricks, wedges = (part.cell_data for part in mekfile.exported(tmp_path / "f.mek")[:2])
    mekfile.check_bits(bricks["Set hot"][0], [1, 0])
    mekfile.check_bits(wedges["Set hot"][0], [1, 1])
    mekfile.check_bits(wedges["Set edge"][0], [1, 0])
    left, right = mekfile.exported(tmp_path / "s.mek")
    assert (left.name, right.name) == ("s/LEFT/TR3", "s/RIGHT/TR3")
    mekfile.check_bits(left.points, [[0, 0, 0], [1, 0, 0], [1, 1, 0]])
    mekfile.check_bits(right.point_data["Set FIX"], [1, 0, 1])
    mekfile.check_bits(right.cell_data["Set RIGHT"][0], [1])
    assert "Set RIGHT" not in left.cell_data
    assert '"Dimension" = 2\n' in mekfile.tree(tmp_path / "s.mek")
    attributes = {"Dimension": 3, "Source file": "d.vtu", "Source format": "vtu"}
    attributes |= {"load.1": 7, "load.2": 2}
    lines = [f"    {json.dumps(key)} = {json.dumps(value)}" for key, value in attributes.items()]
    assert "\n".join(lines) in mekfile.tree(tmp_path / "d.mek")
    for name in "mf":
        assert not re.search("medit:|tags|med:nom", mekfile.tree(tmp_path / f"{name}.mek"))


TIMES = (0.0, 0.1, 2.5)
ONES = [[np.ones(len(data)) for _, data in CELLS]] * 3


def write_xdmf(folder, values, cells):
    with contextlib.chdir(folder), meshio.xdmf.TimeSeriesWriter("t.xdmf") as writer:
        writer.write_points_cells(POINTS, CELLS)
        for time, value, cell in zip(TIMES, values, cells):
            writer.write_data(time, point_data={"T": value}, cell_data={"q": cell})
    return folder / "t.xdmf"


def write_pvd(folder, values, cells, text='<DataSet timestep="{}" file="{}.vtu"/>', times=TIMES):
    for number, (value, cell) in enumerate(zip(values, cells)):
        data = meshio.Mesh(POINTS, CELLS, {"T": value}, {"q": cell})
        meshio.write(folder / f"{number}.vtu", data)
    files = "".join(text.format(time, number) for number, time in enumerate(times))
    (folder / "t.pvd").write_text(f"<VTKFile><Collection>{files}</Collection></VTKFile>")
    return folder / "t.pvd"


def write_series(folder, values, cells):
    write_pvd(folder, values, cells).unlink()
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
            for name, blocks in ("T", [values[number]]), ("q", cells[number]):
                steps = data["CHA"][name]
                (first, *_) = sorted(steps)
                later = f"{first[:-1]}{number + 1}"
                steps.copy(first, later)
                steps[later].attrs["PDT"] = TIMES[number]
                for support, block in zip(sorted(steps[later]), blocks):
                    steps[later][support]["MED_NO_PROFILE_INTERNAL"]["CO"][...] = block
    return path


@pytest.mark.parametrize("write", [write_xdmf, write_pvd, write_series, write_exodus, write_med])
def test_time_series_become_steps(tmp_path, write):
    values = random(3, len(POINTS))
    cells = [[random(len(nodes)) for _, nodes in CELLS] for _ in TIMES]

    summary = convert(write(tmp_path, values, cells))

    assert (summary.counts.steps, summary.counts.results, summary.counts.warnings) == (3, 2, [])
    assert summary.bytes_in == sum(
        file.stat().st_size for file in tmp_path.iterdir() if file != summary.output
    )
    found = mekfile.exported(summary.output)
    tree = mekfile.tree(summary.output)
    for number, time in enumerate(TIMES):
        parts = [part for part in found if part.step == f"Step {number + 1} t={time:g}"]
        assert np.float32(parts[0].time) == np.float32(time)
        check(parts, meshio.Mesh(POINTS, CELLS, {"T": values[number]}, {"q": cells[number]}))
        assert f'"Number" = {number + 1}\n' in tree


def test_parts_of_a_collection_become_groups(tmp_path):
    values = random(2, len(POINTS))
    text = '<DataSet timestep="{0}" name="Rotor {1}" file="{1}.vtu"/>'

    summary = convert(write_pvd(tmp_path, values, ONES, text, (0, 0)))

    found = mekfile.exported(summary.output)
    names = [f"t/Rotor {part}/{name}" for part in (0, 1) for name in ("HE8", "PE6", "TE4")]
    assert [part.name for part in found[:6]] == names
    check([*found[:3], found[6]], meshio.Mesh(POINTS, CELLS, {"T": values[0]}))
    check([*found[3:6], found[7]], meshio.Mesh(POINTS, CELLS, {"T": values[1]}))


COMMANDS = [  # arguments, exit code, what standard output or standard error begins with and has
    ("--help", 0, "Usage: mekapi2-convert [OPTION]... INPUT", "exit codes:"),
    ("-V", 0, "mekapi2-convert 2."),
    ("valid.vtu --overwrite new.mek", 0, "new.mek: 18 nodes, 5 elements", " bytes out"),
    ("--format=vtu -- valid.vtu new.mek", 0, "new.mek: 18 nodes"),
    ("", 2, "the following arguments are required: INPUT; see mekapi2-convert --help"),
    ("valid.vtu --overwrit", 2, "unknown option --overwrit; see mekapi2-convert"),
    ("valid.vtu --format", 2, "--format needs a value; see"),
    ("none.vtu", 1, "none.vtu: No such file or directory"),
    ("pipe", 1, "pipe: needs a regular file"),
    ("cut.vtu", 1, "cut.vtu: the file ends early or is damaged (as vtu: "),
    ("cut.msh", 1, "cut.msh: the file ends early or is damaged (as ansys: ", "as gmsh: "),
    ("S8.inp", 1, "S8.inp: the file ends early or is damaged, or meshio does not read such decks (",
     "as abaqus: Element type not available: S8); convert the solver's .frd file with frd2mek"),
    ("valid.vtu --format nothing", 2, "unknown format nothing; see mekapi2-convert"),
    ("lost.xdmf", 1, "lost.h5: No such file or directory"),
    ("x.unknown", 1, "x.unknown: unknown suffix '.unknown'; give the format with --format"),
    ("valid.vtu.gz", 1, "valid.vtu.gz: this is a gzip file; decompress it first"),
    ("lost.pvd", 1, "lost.pvd: the collection lists a file that does not exist: none.vtu"),
    ("t.pvd", 1, "1.vtu: the mesh differs from that of 0.vtu; only results can change"),
    ("far.obj", 1, "far.obj: a cell of type triangle refers to node 8, but the nodes are 0 to 2"),
    ("huge.vtu", 1, "huge.vtu: 'T': ResultA1: 1e+300 at [1] is too large for a 32-bit float"),
    ("valid.vtu kept.mek", 1, "kept.mek: exists; use --overwrite to replace it"),
    ("valid.vtu valid.vtu --overwrite", 1, "valid.vtu: is the input itself"),
    ("valid.vtu -", 1, "-: needs a regular file, not standard output"),
]  # fmt: skip


def write_inputs(folder):
    write_pvd(folder, RANDOM.random((2, len(POINTS))), ONES)
    meshio.write(folder / "1.vtu", meshio.Mesh(POINTS + 1, CELLS))
    meshio.write(folder / "2.vtu", meshio.Mesh(POINTS, CELLS))
    meshio.write(folder / "valid.vtu", mesh({"T": 1}))
    meshio.write(folder / "huge.vtu", meshio.Mesh(POINTS, CELLS, {"T": [0, 1e300] + [0] * 16}))
    meshio.write(folder / "whole.msh", mesh(), file_format="gmsh22")
    (folder / "cut.vtu").write_bytes((folder / "0.vtu").read_bytes()[:700])
    (folder / "cut.msh").write_bytes((folder / "whole.msh").read_bytes()[:500])
    (folder / "valid.vtu.gz").write_bytes(b"\x1f\x8b\x08")
    (folder / "kept.mek").write_bytes(b"kept")
    texts = {
        "x.unknown": "",
        "lost.pvd": '<V><C><DataSet file="none.vtu"/></C></V>',
        "lost.xdmf": '<Xdmf><DataItem Format="HDF">lost.h5:/data0</DataItem></Xdmf>',
        "far.obj": "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n",
        "S8.inp": "*NODE\n1,0,0\n*ELEMENT,TYPE=S8\n1,1,1,1,1,1,1,1,1\n",
    }  # fmt: skip
    for name, text in texts.items():
        (folder / name).write_text(text)
    os.mkfifo(folder / "pipe")


def test_command_lines(tmp_path, capsys, monkeypatch):
    write_inputs(tmp_path)
    monkeypatch.chdir(tmp_path)
    capsys.readouterr()
    before = {path.name for path in tmp_path.iterdir()}
    for line, exit_code, start, *words in COMMANDS:
        try:
            code = main(line.split())
        except SystemExit as end:
            code = end.code
        output, errors = capsys.readouterr()
        text = output if exit_code == 0 else errors
        start = start if exit_code == 0 else f"mekapi2-convert: {start}"
        assert code == exit_code and text.startswith(start), (line, text)
        assert all(word in text for word in words), (line, text)
        assert (errors if exit_code == 0 else output) == ""
        assert exit_code == 0 or text.count("\n") == 1
        with contextlib.suppress(FileNotFoundError):
            (tmp_path / "new.mek").unlink()
        assert {path.name for path in tmp_path.iterdir()} == before
    assert (tmp_path / "kept.mek").read_bytes() == b"kept" and (tmp_path / "pipe").is_fifo()


def run(*arguments, prefix="pass", **options):
    """Run the command in a process, after the statements of ``prefix``."""
    code = f"import sys; {prefix}; from mekapi2.convert.__main__ import main; sys.exit(main())"
    options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, "text": True, **options}
    return subprocess.run([sys.executable, "-c", code, *arguments], **options)


def test_command_without_meshio_or_output(tmp_path):
    valid = tmp_path / "valid.vtu"
    meshio.write(valid, mesh({"T": 1}))
    missing = "sys.modules['meshio'] = sys.modules['rich'] = None"
    assert run("--help", prefix=missing).stdout.startswith("Usage: ")
    found = run(valid, prefix=missing)
    message = "the Python package meshio is missing; on Debian: python3-meshio\n"
    assert (found.returncode, found.stderr) == (1, f"mekapi2-convert: {message}")
    with open("/dev/full", "w") as full:
        for arguments in (["--help"], ["-V"], [valid, "--overwrite"]):
            found = run(*arguments, stdout=full)
            message = "mekapi2-convert: standard output: No space left on device\n"
            assert (found.returncode, found.stderr) == (1, message)
    reader, writer = os.pipe()
    os.close(reader)
    found = run("--help", stdout=writer)
    os.close(writer)
    assert (found.returncode, found.stderr) == (1, "")


@pytest.mark.parametrize("name", ["SIGINT", "SIGTERM", "SIGHUP"])
def test_signals_remove_what_is_unfinished(tmp_path, name):
    meshio.write(tmp_path / "a.vtu", mesh({"T": 1}))
    number = getattr(signal, name)
    during = f"import signal, meshio; meshio.read = lambda *a, **k: signal.raise_signal({number})"
    found = run(tmp_path / "a.vtu", prefix=during)
    assert (found.returncode, found.stderr) == (-number, "")
    assert [path.name for path in tmp_path.iterdir()] == ["a.vtu"]


def test_command_prints_a_summary_and_progress_on_a_terminal(tmp_path):
    path = write_series(tmp_path, np.ones((3, 18)), ONES)
    command = [sys.executable, "-m", "mekapi2.convert", path, "--overwrite"]
    try:
        terminal, stderr = os.openpty()
    except OSError:
        pytest.skip("the system has no terminals")
    found = subprocess.run(command, stdout=subprocess.PIPE, stderr=stderr, text=True)
    os.close(stderr)
    counts = "18 nodes, 5 elements, 3 shapes, 2 results, 3 steps, "
    size = (tmp_path / "t.mek").stat().st_size
    assert found.stdout.startswith(f"{tmp_path / 't.mek'}: {counts}")
    assert found.stdout.endswith(f" bytes in, {size} bytes out\n")
    assert found.returncode == 0 and b"100%" in os.read(terminal, 65536)
