"""Models as meshes of meshio and VTK, and converted to the formats that meshio writes."""

import subprocess
import sys

import mekapi2
import mekfile
import meshio
import numpy as np
import pytest
import test_convert
import test_vtu
from mekapi2 import FormatError, Model, Step
from mekapi2.convert import convert
from mekapi2.convert.__main__ import main
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonDataModel import vtkCompositeDataSet

# suffixes, and the widths of point data that the format holds
FORMATS = [
    *((suffix, (1, 3, 6)) for suffix in ("vtu", "vtk", "xdmf", "med")),
    ("msh", (1, 3)), ("e", (1,)), ("inp", ()), ("bdf", ()), ("mesh", ()),
]  # fmt: skip


def given(widths=(), cell_data=False):
    fields = {f"w{width}": width for width in widths}
    cells = {"q": [np.float32(np.arange(len(c))) for _, c in test_convert.CELLS]}
    return test_convert.mesh(fields, cells if cell_data else None)


def compare(found, expected):
    np.testing.assert_array_equal(found.points, np.float32(expected.points))
    assert [block.type for block in found.cells] == [block.type for block in expected.cells]
    for left, right in zip(found.cells, expected.cells):
        np.testing.assert_array_equal(left.data, right.data)
    assert found.point_data.keys() == expected.point_data.keys()
    for name, values in expected.point_data.items():
        np.testing.assert_array_equal(found.point_data[name], np.float32(values))
    assert found.cell_data.keys() == expected.cell_data.keys()
    for name, blocks in expected.cell_data.items():
        for left, right in zip(found.cell_data[name], blocks):
            np.testing.assert_array_equal(left, np.float32(right))


@pytest.mark.parametrize("suffix, widths", FORMATS)
def test_round_trip_through_each_format(tmp_path, capsys, suffix, widths):
    expected = given(widths, cell_data=len(widths) > 1)
    expected.write(tmp_path / "a.mek")
    compare(meshio.read(tmp_path / "a.mek"), expected)
    assert main([str(tmp_path / "a.mek"), str(tmp_path / f"b.{suffix}")]) == 0
    assert main([str(tmp_path / f"b.{suffix}")]) == 0
    compare(meshio.read(tmp_path / "b.mek"), expected)
    test_convert.check(mekfile.exported(tmp_path / "b.mek"), expected)
    if suffix in ("bdf", "mesh", "e", "inp"):  # these lose data, but not silently
        more = given((1,), cell_data=True)
        more.write(tmp_path / "a.mek")
        assert main([str(tmp_path / "a.mek"), str(tmp_path / f"b.{suffix}"), "--overwrite"]) == 0
        assert "warning: cell data left out" in capsys.readouterr().err
    left = {path.name for path in tmp_path.iterdir()}
    assert left - {"b.h5"} == {"a.mek", "b.mek", "b.parts", f"b.{suffix}"}


def test_all_element_types_sets_and_regions(tmp_path):
    points, blocks = test_convert.all_element_types()
    sets = {"all of it": [np.arange(2) if n == 3 else [] for n in range(len(blocks))]}
    sets["half"] = [[1] if n in (4, 5) else [] for n in range(len(blocks))]
    meshio.Mesh(points, blocks, cell_sets=sets, point_sets={"p": [1, 7]}).write(tmp_path / "a.mek")
    assert '"all of it"' in mekfile.tree(tmp_path / "a.mek")
    found = meshio.read(tmp_path / "a.mek")
    compare(found, meshio.Mesh(points, blocks))
    assert found.point_sets["p"].tolist() == [1, 7] and found.cell_sets.keys() == sets.keys()
    for name, members in sets.items():
        for left, right in zip(found.cell_sets[name], members):
            np.testing.assert_array_equal(left, right)
    convert(tmp_path / "a.mek", tmp_path / "b.vtu")
    parts = mekfile.exported(tmp_path / "a.mek")
    whole = meshio.read(tmp_path / "b.vtu")  # has the node order of VTK, as mekinfo writes it
    for block, part in zip(whole.cells, parts):
        rows = part.point_data["vtkOriginalPointIds"][part.cells[0].data]
        np.testing.assert_array_equal(block.data, rows, block.type)
    mixed = test_convert.mesh(cell_sets={"steel": [[0, 1], [0, 1], []], "wood": [[], [], [0]]})
    mixed.point_data["S"] = np.float32(np.arange(18 * 6).reshape(18, 6))
    mixed.write(tmp_path / "c.mek")
    convert(tmp_path / "c.mek", tmp_path / "d.msh")
    convert(tmp_path / "d.msh")
    again = meshio.read(tmp_path / "d.mek")
    assert {name: [len(x) for x in of] for name, of in again.cell_sets.items()} == {
        "steel": [2, 2, 0], "wood": [0, 0, 1]
    }
    np.testing.assert_array_equal(again.point_data["S.2"], mixed.point_data["S"][:, 3])


def test_time_series_and_choice_of_steps(tmp_path, capsys, monkeypatch):
    path = tmp_path / "a.mek"
    with Model(path) as model:
        (shape,) = model.add_assembly_components(["/r/TR3"])
        model.add_array("Coordinates", np.eye(3), shape)
        model.add_array("Connectivity1", [[0, 1, 2]], shape, polylength=True)
        for time in (0.5, 0.1, 2):
            step = Step(f"t={time}", {"Time": time})
            model.add_array("ResultA1", [time] * 3, shape, name="T", steps=step)
    monkeypatch.chdir(tmp_path)
    assert main(["a.mek", "b.xdmf"]) == 0 and main(["b.xdmf"]) == 0
    with mekapi2.open("b.mek") as file:
        assert file.steps == ["Step 1 t=0.1", "Step 2 t=0.5", "Step 3 t=2"]
        values = [file.to_meshio(step).point_data["T"][0] for step in file.steps]
        np.testing.assert_array_equal(values, np.float32([0.1, 0.5, 2]))
        with pytest.raises(KeyError, match="none"):
            file.to_meshio("none")
    assert main(["a.mek", "c.vtu"]) == 0 and main(["a.mek", "d.vtu", "--step", "t=0.1"]) == 0
    assert "warning: only the last of 3 steps is written: 't=2'" in capsys.readouterr().err
    values = [meshio.read(name).point_data["T"][0] for name in ("c.vtu", "d.vtu")]
    np.testing.assert_array_equal(values, np.float32([2, 0.1]))
    for arguments, error in (
        (["a.mek", "c.vtu"], "exists; use --overwrite"),
        (["a.mek", "e.vtu", "--step", "t"], "no step 't'"),
        (["a.mek", "e.frd"], "meshio writes no files with the suffix '.frd'"),
        (["damaged.mek", "e.vtu"], "file is unfinished"),
    ):
        (tmp_path / "damaged.mek").write_bytes(path.read_bytes()[:3000])
        assert main(arguments) == 1 and error in capsys.readouterr().err
    assert not list(tmp_path.glob("e.*")) and not list(tmp_path.glob("*.part"))


def test_vtk_has_what_mekinfo_exports(tmp_path):
    test_vtu.write(tmp_path / "a.mek")
    exported = mekfile.exported(tmp_path / "a.mek")
    with mekapi2.open(tmp_path / "a.mek") as file:
        steps = sorted(file.steps, key=file.times.get)
        collections = [file.to_vtk(step) for step in steps]
        few = file.to_vtk(steps[0], ["Displacement"]).GetPartition(0, 0)
        blocks = file.to_vtk(steps[0], (), cell_arrays=["E\x01<"], multiblock=True)
        assert file.quantities("point") == ["Displacement", "LOST"]
        assert file.quantities("cell") == ["E\x01<"]
        assert file.quantities("field")[0] == "Connectivity"
    assert few.GetCellData().GetNumberOfArrays() == 0
    assert few.GetPointData().HasArray("Displacement")
    placed = blocks.GetBlock(1)
    for above, number, name in ((blocks, 0, "HE8"), (blocks, 1, "placed"), (placed, 0, "TE4")):
        assert above.GetMetaData(number).Get(vtkCompositeDataSet.NAME()) == name
    found = [data.GetNumberOfArrays() for data in (
        placed.GetBlock(0).GetCellData(), placed.GetBlock(0).GetPointData())]
    assert (found, blocks.GetFieldData().GetAbstractArray("Step").GetValue(0)) == ([1, 1], steps[0])
    grids = [each.GetPartition(part, 0) for each in collections for part in range(2)]
    for grid, mesh in zip(grids, exported):
        np.testing.assert_allclose(vtk_to_numpy(grid.GetPoints().GetData()), mesh.points, atol=1e-5)
        connectivity = vtk_to_numpy(grid.GetCells().GetConnectivityArray())
        np.testing.assert_array_equal(connectivity, mesh.cells[0].data.ravel())
        for data, found in (
            (mesh.point_data, grid.GetPointData()),
            ({name: blocks[0] for name, blocks in mesh.cell_data.items()}, grid.GetCellData()),
            (mesh.field_data, grid.GetFieldData()),
        ):
            for name, values in data.items():
                array = vtk_to_numpy(found.GetArray(name.replace("E ", "E\x01")))
                np.testing.assert_allclose(array.ravel(), np.ravel(values), atol=1e-5)
            assert len(data) == found.GetNumberOfArrays()


def test_invalid_meshes_are_refused(tmp_path):
    def error(connectivity, polylength, coordinates=np.eye(3)):
        with Model(tmp_path / "a.mek", overwrite=True) as model:
            (shape,) = model.add_assembly_components(["/r/s"])
            model.add_array("Coordinates", coordinates, shape)
            model.add_array("Connectivity2", connectivity, shape)
            model.add_array("Polylength2", polylength, shape)
        with mekapi2.open(tmp_path / "a.mek") as file:
            for method in (file.to_meshio, file.to_vtk):
                with pytest.raises(FormatError, match="^shape '/r/s': ") as caught:
                    method()
        return str(caught.value)

    assert "row 4294967295 of 3" in error([0, 1, 2**32 - 1, 1], [4])
    assert "polylengths of 8589934590 nodes" in error([0, 1, 2, 1], [2**32 - 1] * 2)
    assert "dimension 3 has 3 nodes" in error([0, 1, 2], [3])
    assert "dimension 3 has 0 nodes" in error([0, 1, 2, 1], [4, 0])


def test_meshio_is_extended_when_it_is_imported_and_only_then(tmp_path):
    given().write(tmp_path / "a.mek")
    code = "import sys; {}; assert 'meshio' {} in sys.modules; import meshio"
    code += f"; print(len(meshio.read({str(tmp_path / 'a.mek')!r}).points))"
    alone = "import mekapi2.reader; assert not {'mekapi2._core', 'vtkmodules'} & {*sys.modules}"
    for first, loaded in ((alone, "not"), ("import meshio, mekapi2.reader", "")):
        command = [sys.executable, "-c", code.format(first, loaded)]
        assert subprocess.run(command, capture_output=True, text=True, check=True).stdout == "18\n"


def test_pyvista_accepts_collections_and_blocks(tmp_path):
    pyvista = pytest.importorskip("pyvista")
    test_vtu.write(tmp_path / "a.mek")
    with mekapi2.open(tmp_path / "a.mek") as file:
        flat = pyvista.wrap(file.to_vtk(file.steps[0]))
        nested = pyvista.wrap(file.to_vtk(file.steps[0], multiblock=True))
    assert flat.keys() == ["one & all/HE8", "one & all/placed/TE4"]
    assert nested.keys() == ["HE8", "placed"]
    assert flat[0].n_cells == nested[0].n_cells > 0
