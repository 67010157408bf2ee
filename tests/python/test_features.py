"""Features of the format by reader; docs/python.md has the table."""

import features
import mekapi2
import mekfile
import numpy as np
import pytest
from mekapi2.reader import _elements

CASES = [(name, size) for name in features.CASES for size in ("10000000", "100")]


@pytest.mark.parametrize("case, block_size", CASES)
def test_feature(tmp_path, monkeypatch, case, block_size):
    monkeypatch.setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", block_size)
    shapes = features.write(case, tmp_path / "a.mek")
    with mekapi2.open(tmp_path / "a.mek") as file:
        file.check()
        blocks = len(file._container.blocks)
        assert case != "many_arrays" or (blocks > 220) == (block_size == "100"), blocks
        for shape in shapes:
            node = file["/" + shape.path]
            points = node.variables["Coordinates"]
            points = points.array("s" if "s" in points.steps else None)
            placement = node.world_placement
            points = points @ placement[:3, :3].T + placement[:3, 3]
            np.testing.assert_allclose(points, shape.points, atol=1e-5)
            for name, values in shape.point_data.items():
                np.testing.assert_array_equal(node.variables[name].array("s"), values)
        features.check_grids(file.to_vtk("s"), shapes)
        compare_mesh(file.to_meshio("s"), shapes)
    if case == "element_kinds":
        return  # meshio does not read all of them
    exported = [part for part in mekfile.exported(tmp_path / "a.mek") if part.step == "s"]
    assert [part.name for part in exported] == [shape.path for shape in shapes]
    for part, shape in zip(exported, shapes):
        np.testing.assert_allclose(part.points, shape.points, atol=1e-5)
        for name, values in shape.point_data.items():
            np.testing.assert_array_equal(part.point_data[name], values)


def compare_mesh(mesh, shapes):
    kinds = {kind.name: kind for kind in _elements._TYPES}
    assert len(mesh.cells) == len(shapes)
    for block, shape in zip(mesh.cells, shapes):
        kind = kinds.get(shape.path.split("/")[-1], kinds["QU4"])
        cells = np.asarray(shape.cells)
        cells = cells[:, kind.meshio_order] if kind.meshio_order else cells
        assert block.type == kind.meshio
        rows = block.data[0]
        np.testing.assert_allclose(mesh.points[rows], shape.points[cells[0]], atol=1e-5)
        for name, values in shape.point_data.items():
            np.testing.assert_array_equal(mesh.point_data[name][rows], values[cells[0]])
