"""Opens the parallel heat equation's file, written by 4 ranks, in ParaView with the plug-in.

Usage: pvpython check_heat.py MODEL
"""
import pathlib
import sys

import numpy as np
from paraview import simple
from vtkmodules.numpy_interface import dataset_adapter as dsa

ROOT = pathlib.Path(__file__).parents[2]
ROWS, COLUMNS = 80, 120
y, x = np.mgrid[:ROWS, :COLUMNS]

simple.LoadPlugin(str(ROOT / "paraview" / "MekReader.xml"))
source = simple.OpenDataFile(sys.argv[1])
source.UpdatePipelineInformation()
assert list(source.TimestepValues) == list(range(1, 51))
maxima = []
for time in source.TimestepValues:
    source.UpdatePipeline(time)
    collection = source.GetClientSideObject().GetOutputDataObject(0)
    grid = dsa.WrapDataObject(collection.GetPartition(0, 0))
    assert grid.VTKObject.GetNumberOfCells() == (ROWS - 1) * (COLUMNS - 1)
    np.testing.assert_array_equal(grid.Points, np.stack((x, y, 0 * x), -1).reshape(-1, 3))
    temperature = grid.PointData["Temperature"].reshape(ROWS, COLUMNS)
    assert (temperature == temperature[0]).all() and (np.diff(temperature) <= 0).all(), time
    maxima.append(float(temperature.max()))
np.testing.assert_allclose([maxima[0], maxima[-1]], [80.388, 97.18], atol=1e-3)
