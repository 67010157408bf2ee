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

# suffix, format, and the widths of point data that the format holds
FORMATS = [
    ("vtu", None, (1, 3, 6)),
    ("vtk", None, (1, 3, 6)),
    ("xdmf", None, (1, 3, 6)),
    ("med", None, (1, 3, 6)),
    ("msh", None, (1, 3, 6)),
    ("e", None, (1,)),
    ("inp", None, ()),
    ("bdf", None, ()),
    ("mesh", None, ()),
]


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


@pytest.mark.parametrize("suffix, file_format, widths", FORMATS)
def test_round_trip_through_each_format(tmp_path, suffix, file_format, widths):
    expected = given(widths, cell_data=len(widths) > 1)
    expected.write(tmp_path / "a.mek")
    compare(meshio.read(tmp_path / "a.mek"), expected)
    assert main([str(tmp_path / "a.mek"), str(tmp_path / f"b.{suffix}")]) == 0
    assert main([str(tmp_path / f"b.{suffix}")]) == 0
    compare(meshio.read(tmp_path / "b.mek"), expected)
    left = {path.name for path in tmp_path.iterdir()}
    assert left - {"b.h5"} == {"a.mek", "b.mek", f"b.{suffix}"}
