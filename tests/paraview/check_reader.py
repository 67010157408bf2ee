"""Opens the demo's bracket in ParaView with the plug-in, and compares every array with the reader.

Usage: pvpython check_reader.py FRD2MEK [OUTPUT.png]

Without OUTPUT.png the image of the last load step is compared with the one in the documentation.
"""
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

import MekReader
import features
import mekapi2.reader
import numpy as np
from paraview import simple
from paraview.detail import pythonalgorithm
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOImage import vtkPNGReader

ROOT = pathlib.Path(__file__).parents[2]
PICTURE = ROOT / "docs" / "images" / "paraview.png"
ALIKE = 0.98  # structural similarity; that of an image of the first step is 0.93
SMOOTHING = 7  # pixels


def output_of(source, time):
    source.UpdatePipeline(time)
    return source.GetClientSideObject().GetOutputDataObject(0)


def check_step(collection, file, step, point_arrays, cell_arrays):
    """Compare with what the reader finds; all arrays but ids exist at some steps only."""

    def arrays(shape, names, rows):
        steps = {name: step if shape.variables[name].steps else None for name in names}
        found = {name: shape.variables[name] for name in names}
        found = {name: each for name, each in found.items() if each.has_array(steps[name])}
        return {name: each.array(steps[name])[rows] for name, each in found.items()}

    expected = []
    for shape in file.shapes:
        connectivity = shape.variables["Connectivity"].array()
        rows, cells = np.unique(connectivity, return_inverse=True)
        points = shape.variables["Coordinates"].array()[rows]
        at_points = arrays(shape, point_arrays, rows)
        at_cells = arrays(shape, cell_arrays, slice(None))
        cells = cells.reshape(-1, 20)
        expected.append(features.Shape(shape.path[1:], points, cells, at_points, at_cells))
    features.check_grids(collection, expected)
    assert collection.GetFieldData().GetAbstractArray("Step").GetValue(0) == step
    color = collection.GetPartition(1, 0).GetFieldData().GetArray("Diffuse Color").GetTuple(0)
    assert color == file.shapes[1].material.diffuse_color


def check_selections(source, file):
    """Only the arrays that are ticked are read, and colours of materials if asked for."""
    step = file.steps[0]
    source.PointArrays, source.CellArrays, source.MaterialColors = ["ERROR"], [], 1
    collection = output_of(source, file.times[step])
    assert vtk_to_numpy(
        collection.GetPartition(1, 0).GetCellData().GetArray("Material Color")
    ).tolist() == 2 * [[204, 204, 204, 255]]
    source.MaterialColors = 0
    check_step(output_of(source, file.times[step]), file, step, ["ERROR"], [])
    assembly = collection.GetDataAssembly()
    labels = [assembly.GetAttributeOrDefault(node, "label", "") for node in range(5)]
    assert labels == ["coarse", "STEEL", "HE20", "ALUMINIUM", "HE20"], labels


def draw(source, time, output):
    """Write an image of the stress on the deformed shape."""
    view = simple.CreateView("RenderView")
    view.ViewSize = [600, 400]
    view.UseColorPaletteForBackground = 0
    view.Background = [1, 1, 1]
    view.OrientationAxesVisibility = 0
    warped = simple.WarpByVector(Input=source, Vectors=["POINTS", "DISP"], ScaleFactor=8)
    display = simple.Show(warped, view)
    display.SetRepresentationType("Surface With Edges")
    display.NonlinearSubdivisionLevel = 2
    scene = simple.GetAnimationScene()
    scene.UpdateAnimationUsingDataTimeSteps()
    scene.AnimationTime = time
    warped.UpdatePipeline(time)  # the colours have the range of this step
    simple.ColorBy(display, ("POINTS", "STRESS", "Magnitude"))
    display.RescaleTransferFunctionToDataRange()
    display.EdgeColor = [0.2, 0.2, 0.2]
    display.SetScalarBarVisibility(view, True)
    bar = simple.GetScalarBar(simple.GetColorTransferFunction("STRESS"), view)
    bar.TitleColor = bar.LabelColor = [0, 0, 0]
    view.CameraPosition, view.CameraViewUp = [1, -1.6, 0.9], [0, 0, 1]
    view.CameraFocalPoint = [0, 0, 0]
    simple.ResetCamera(view)
    view.GetActiveCamera().Zoom(1.1)
    simple.SaveScreenshot(str(output), view, CompressionLevel=9)


def gray(path):
    reader = vtkPNGReader()
    reader.SetFileName(str(path))
    reader.Update()
    image = reader.GetOutput()
    width, height, _ = image.GetDimensions()
    pixels = vtk_to_numpy(image.GetPointData().GetScalars())
    return pixels.reshape(height, width, -1)[..., :3] @ [0.299, 0.587, 0.114]


def similarity(left, right):
    """The mean structural similarity of Wang et al. (2004), with a square window."""

    def smooth(image):
        windows = np.lib.stride_tricks.sliding_window_view(image, (SMOOTHING, SMOOTHING))
        return windows.mean((2, 3))

    means = smooth(left), smooth(right)
    variances = smooth(left * left) - means[0] ** 2, smooth(right * right) - means[1] ** 2
    covariance = smooth(left * right) - means[0] * means[1]
    c1, c2 = (0.01 * 255) ** 2, (0.03 * 255) ** 2
    luminance = (2 * means[0] * means[1] + c1) / (means[0] ** 2 + means[1] ** 2 + c1)
    return float((luminance * (2 * covariance + c2) / (sum(variances) + c2)).mean())


def check_declaration():
    """The XML file declares what the decorators do."""
    (declared,) = pythonalgorithm.get_plugin_xmls(MekReader)
    written = (ROOT / "paraview" / "MekReader.xml").read_text()
    one, other = (ElementTree.canonicalize(text, strip_text=True) for text in (declared, written))
    assert one == other, declared


def check_damaged(folder):
    """A file that cannot be read yields an error and nothing else."""
    (folder / "damaged.mek").write_bytes(b"\x89QBF\r\n\x1a\n1.3\0")
    damaged = simple.OpenDataFile(str(folder / "damaged.mek"))
    assert output_of(damaged, 0).GetNumberOfPartitionedDataSets() == 0
    simple.Delete(damaged)


def check_features(folder):
    for name in features.CASES:
        path = folder / f"{name}.mek"
        shapes = features.write(name, path)
        source = simple.OpenDataFile(str(path))
        features.check_grids(output_of(source, 1), shapes)
        simple.Delete(source)


def main(frd2mek, picture=None):
    check_declaration()
    simple.LoadPlugin(str(ROOT / "paraview" / "MekReader.xml"))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        path = folder / "job.mek"
        subprocess.run([frd2mek, ROOT / "examples/bracket/coarse.frd", path], check=True)
        check_damaged(folder)
        check_features(folder)
        source = simple.OpenDataFile(str(path))
        source.UpdatePipelineInformation()
        with mekapi2.reader.open(path) as file:
            assert list(source.TimestepValues) == list(file.times.values()) == list(range(8))
            points, cells = file.quantities("point"), file.quantities("cell")
            assert (source.PointArrays.GetData(), source.CellArrays.GetData()) == (points, cells)
            for step, time in file.times.items():
                check_step(output_of(source, time + 0.25), file, step, points, cells)
            check_selections(source, file)
            source.PointArrays = ["DISP", "STRESS"]
            image = pathlib.Path(picture or folder / "image.png")
            draw(source, file.times["Step 6 t=2"], image)
        if picture is None:
            alike = similarity(gray(image), gray(PICTURE))
            assert alike > ALIKE, alike


main(*sys.argv[1:])
