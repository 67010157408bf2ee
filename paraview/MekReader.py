"""Reader for model files (.mek) in ParaView 5.11 and later; docs/paraview.md describes it.

It needs the Python package `mekapi2.reader`: installed for the Python of ParaView, in a folder of
PYTHONPATH, or as the folder `mekapi2` beside this file.
"""

import inspect
import os
import sys

import numpy as np
from paraview import print_error

# ParaView 5.11 uses this function for its decorators, and Python 3.11 does not have it. ParaView
# cannot load this file there, but MekReader.xml, which imports this module.
if not hasattr(inspect, "getargspec"):
    inspect.getargspec = inspect.getfullargspec

from paraview.util.vtkAlgorithm import smdomain, smhint, smproperty, smproxy
from vtkmodules.util.numpy_support import numpy_to_vtk
from vtkmodules.util.vtkAlgorithm import VTKPythonAlgorithmBase
from vtkmodules.vtkCommonCore import vtkDataArraySelection
from vtkmodules.vtkCommonDataModel import vtkPartitionedDataSetCollection
from vtkmodules.vtkCommonExecutionModel import vtkStreamingDemandDrivenPipeline

try:
    from mekapi2 import reader
except ModuleNotFoundError:
    sys.path.append(os.path.dirname(os.path.abspath(__file__)))
    from mekapi2 import reader

MATERIAL_COLOR = "Material Color"


@smproxy.reader(
    name="MekReader",
    label="Simulation model reader",
    extensions="mek",
    file_description="Simulation models",
)
class MekReader(VTKPythonAlgorithmBase):
    """Yields a grid for each shape, with the arrays of one step that are ticked."""

    def __init__(self):
        super().__init__(
            nInputPorts=0, nOutputPorts=1, outputType="vtkPartitionedDataSetCollection"
        )
        self._path = None
        self._file = None
        self._stamp = None  # of the open file
        self._steps = []  # pairs of time and name, ascending
        self._has_material_colors = False
        self._selections = {"point": vtkDataArraySelection(), "cell": vtkDataArraySelection()}
        for selection in self._selections.values():
            selection.AddObserver("ModifiedEvent", lambda *_: self.Modified())

    @smproperty.stringvector(name="FileName")
    @smdomain.filelist()
    @smhint.filechooser(extensions="mek", file_description="Simulation models")
    def SetFileName(self, path):
        if path != self._path:
            self._close()
            self._path = path
            self.Modified()

    @smproperty.doublevector(
        name="TimestepValues", information_only="1", si_class="vtkSITimeStepsProperty"
    )
    def GetTimestepValues(self):
        return [time for time, _ in self._steps] or None

    @smproperty.dataarrayselection(name="Point Arrays")
    def GetPointArrays(self):
        return self._selections["point"]

    @smproperty.dataarrayselection(name="Cell Arrays")
    def GetCellArrays(self):
        return self._selections["cell"]

    @smproperty.intvector(name="MaterialColors", label="Material Colors", default_values=0)
    @smdomain.xml('<BooleanDomain name="bool"/>')
    def SetMaterialColors(self, is_on):
        """Add the cell array "Material Color", to be shown without a color map."""
        if bool(is_on) != self._has_material_colors:
            self._has_material_colors = bool(is_on)
            self.Modified()

    def RequestInformation(self, request, inputs, outputs):
        information = outputs.GetInformationObject(0)
        pipeline = vtkStreamingDemandDrivenPipeline
        for key in (pipeline.TIME_STEPS(), pipeline.TIME_RANGE()):
            information.Remove(key)
        if not self._attempt(self._open):
            return 0
        times = [time for time, _ in self._steps]
        for time in times:
            information.Append(pipeline.TIME_STEPS(), time)
        for time in times[:1] + times[-1:]:
            information.Append(pipeline.TIME_RANGE(), time)
        return 1

    def RequestData(self, request, inputs, outputs):
        information = outputs.GetInformationObject(0)
        key = vtkStreamingDemandDrivenPipeline.UPDATE_TIME_STEP()
        time = information.Get(key) if information.Has(key) else None
        output = vtkPartitionedDataSetCollection.GetData(outputs)
        return int(self._attempt(lambda: self._read(time, output)))

    def _attempt(self, action):
        """Return whether an action succeeds; otherwise show its error."""
        try:
            action()
        except (OSError, ValueError) as error:
            print_error(f"{self._path}: {error}")
            return False
        return True

    def _close(self):
        if self._file is not None:
            self._file.close()
        self._file = self._stamp = None
        self._steps = []

    def _open(self):
        """Open the file, again if it was replaced. The selections keep what the user ticked."""
        if self._path is None:
            raise ValueError("no file name is set")
        status = os.stat(self._path)
        stamp = (status.st_ino, status.st_size, status.st_mtime_ns)
        if stamp == self._stamp:
            return
        self._close()
        self._file, self._stamp = reader.open(self._path), stamp
        self._steps = sorted((time, step) for step, time in self._file.times.items())
        for family, selection in self._selections.items():
            for name in self._file.quantities(family):
                if not selection.ArrayExists(shown(name)):
                    selection.AddArray(shown(name))

    def _step_at(self, time):
        """Return the last step that is not after a time, or the first; None without steps."""
        first = [step for _, step in self._steps[:1]]
        before = [step for of_step, step in self._steps if time is not None and of_step <= time]
        return (before or first or [None])[-1]

    def _selected(self, family):
        selection = self._selections[family]
        names = self._file.quantities(family)
        return [name for name in names if selection.ArrayIsEnabled(shown(name))]

    def _read(self, time, output):
        self._open()
        points, cells = (self._selected(family) for family in ("point", "cell"))
        step = self._step_at(time)
        collection = self._file.to_vtk(step, (), point_arrays=points, cell_arrays=cells)
        if self._has_material_colors:
            for number in range(collection.GetNumberOfPartitionedDataSets()):
                add_material_color(collection.GetPartition(number, 0))
        output.ShallowCopy(collection)


def shown(name):
    """Return a name that VTK accepts: names in a file need not be UTF-8."""
    return name.encode("utf-8", "surrogateescape").decode("utf-8", "replace")


def add_material_color(grid):
    """Add the diffuse colour and the opacity of a shape as a cell array of bytes."""
    color = grid.GetFieldData().GetArray("Diffuse Color").GetTuple(0)
    transparency = grid.GetFieldData().GetArray("Transparency").GetValue(0)
    channels = np.nan_to_num(np.clip([*color[:3], 1 - transparency], 0, 1))
    values = np.tile(np.uint8(np.round(255 * channels)), (grid.GetNumberOfCells(), 1))
    array = numpy_to_vtk(values, deep=True)
    array.SetName(MATERIAL_COLOR)
    grid.GetCellData().AddArray(array)
