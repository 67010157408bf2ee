"""Opens an export of mekinfo in ParaView and compares every array with the input of the converter.

Usage: pvpython check_paraview.py FRD2MEK MEKINFO

The arrays are longer than one compressed block, and end within one.
"""
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
from paraview import servermanager, simple
from vtkmodules.util.numpy_support import vtk_to_numpy

NODES, ELEMENTS = 100_000, 50_000
TETRAHEDRON, VTK_TETRAHEDRON = 3, 10
IDS = np.arange(1, NODES + 1)
POINTS = np.float32([IDS, -IDS, np.float32([f"{1 / i:.5E}" for i in IDS])]).T
CELLS = np.arange(ELEMENTS)[:, None] + np.arange(4)  # each one shares three nodes with the next
TIMES = [0.5, 2.0]


def values_at(time):
    """One value for every second node; the others have none."""
    values = np.where(IDS % 2 == 0, time * IDS, np.nan)
    return np.float32([f"{value:.5E}" for value in values])


def lines():
    yield "    1C"
    yield f"    2C{NODES:30}{1:38}"
    for number, row in zip(IDS, POINTS):
        yield f" -1{number:10}" + "".join(f"{value:12.5E}" for value in row)
    yield " -3"
    yield f"    3C{ELEMENTS:30}{1:38}"
    for number, nodes in enumerate(CELLS + 1, 1):
        yield f" -1{number:10}{TETRAHEDRON:5}{0:5}{1:5}"
        yield " -2" + "".join(f"{node:10}" for node in nodes)
    yield " -3"
    for number, time in enumerate(TIMES, 1):
        yield f"  100CL  101{time:12.5E}{NODES // 2:12}{'':20} 0{number:5}           1"
        yield " -4  NDTEMP      1    1"
        yield " -5  T           1    1    0    0"
        for node, value in zip(IDS, values_at(time)):
            if not np.isnan(value):
                yield f" -1{node:10}{value:12.5E}"
        yield " -3"
    yield " 9999"


def grids_of(data):
    """The grids of a collection, whose parts are blocks."""
    if not data.IsA("vtkCompositeDataSet"):
        return [data]
    grids = []
    iterator = data.NewIterator()
    while not iterator.IsDoneWithTraversal():
        grids.append(iterator.GetCurrentDataObject())
        iterator.GoToNextItem()
    return grids


def assert_bits(array, expected):
    values = vtk_to_numpy(array)
    assert values.dtype == expected.dtype and values.tobytes() == expected.tobytes(), values


def check(elements, rest, time):
    used = np.arange(ELEMENTS + 3)
    assert_bits(elements.GetCells().GetConnectivityArray(), CELLS.ravel())
    assert_bits(elements.GetCells().GetOffsetsArray(), np.arange(0, 4 * ELEMENTS + 1, 4))
    assert_bits(elements.GetCellTypesArray(), np.full(ELEMENTS, VTK_TETRAHEDRON, np.uint8))
    assert_bits(elements.GetCellData().GetArray("Element IDs"), np.uint32(1 + np.arange(ELEMENTS)))
    for grid, rows in ((elements, used), (rest, np.arange(len(used), NODES))):
        points = grid.GetPointData()
        assert_bits(grid.GetPoints().GetData(), POINTS[rows])
        assert_bits(points.GetArray("Node Ids"), np.uint32(IDS[rows]))
        assert_bits(points.GetArray("vtkOriginalPointIds"), np.uint32(rows))
        assert_bits(points.GetArray("NDTEMP"), values_at(time)[rows])
        assert_bits(grid.GetFieldData().GetArray("TimeValue"), np.float64([time]))


def main(frd2mek, mekinfo):
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "job.frd").write_text("\n".join(lines()) + "\n")
        for command in ([frd2mek, "job.frd"], [mekinfo, "--vtu", "out", "job.mek"]):
            subprocess.run(command, cwd=folder, check=True, stdout=subprocess.DEVNULL)
        reader = simple.OpenDataFile(f"{folder}/out/job.pvd")
        reader.UpdatePipelineInformation()
        assert list(reader.TimestepValues) == TIMES, reader.TimestepValues
        for time in TIMES:
            reader.UpdatePipeline(time)
            check(*grids_of(servermanager.Fetch(reader)), time)


main(*sys.argv[1:])
