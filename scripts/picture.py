"""Draws the von Mises stress on the deformed shape, from the files of `mekinfo --vtu`.

Usage: picture.py COLLECTION.pvd OUTPUT.png
"""
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

import numpy as np
import vtk
from vtk.util.numpy_support import numpy_to_vtk, vtk_to_numpy

MAGNIFICATION = 8  # of the displacements
SIZE = 1000, 680


def files_of_last_static_step(collection):
    """The files of all mesh parts at the last step that is not a vibration mode."""
    entries = list(ElementTree.parse(collection).getroot().iter("DataSet"))
    step = [entry.get("step") for entry in entries if entry.get("step").startswith("Step")][-1]
    return step, [collection.parent / entry.get("file") for entry in entries
                  if entry.get("step") == step]


def read(path):
    reader = vtk.vtkXMLUnstructuredGridReader()
    reader.SetFileName(str(path))
    reader.Update()
    grid = reader.GetOutput()
    data = grid.GetPointData()
    xx, yy, zz, xy, yz, xz = vtk_to_numpy(data.GetArray("STRESS")).astype(float).T
    mises = np.sqrt(((xx - yy) ** 2 + (yy - zz) ** 2 + (zz - xx) ** 2) / 2
                    + 3 * (xy**2 + yz**2 + xz**2))
    array = numpy_to_vtk(mises, deep=True)
    array.SetName("von Mises stress, MPa")
    data.SetScalars(array)
    data.SetActiveVectors("DISP")
    return grid


def actor_of(source, mapper, color=None):
    mapper.SetInputConnection(source.GetOutputPort())
    actor = vtk.vtkActor()
    actor.SetMapper(mapper)
    actor.GetProperty().SetAmbient(0.35)
    actor.GetProperty().SetDiffuse(0.7)
    if color is not None:
        mapper.ScalarVisibilityOff()
        actor.GetProperty().SetColor(color)
    return actor


def draw(grids, title, output):
    colors = vtk.vtkColorTransferFunction()
    colors.SetColorSpaceToDiverging()
    top = max(grid.GetPointData().GetScalars().GetRange()[1] for grid in grids)
    colors.AddRGBPoint(0, 0.23, 0.30, 0.75)
    colors.AddRGBPoint(top, 0.71, 0.02, 0.15)
    renderer = vtk.vtkRenderer()
    renderer.SetBackground(1, 1, 1)
    for grid in grids:
        warp = vtk.vtkWarpVector()
        warp.SetInputData(grid)
        warp.SetScaleFactor(MAGNIFICATION)
        surface = vtk.vtkDataSetSurfaceFilter()
        surface.SetNonlinearSubdivisionLevel(2)
        surface.SetInputConnection(warp.GetOutputPort())
        mapper = vtk.vtkPolyDataMapper()
        mapper.SetLookupTable(colors)
        mapper.InterpolateScalarsBeforeMappingOn()
        renderer.AddActor(actor_of(surface, mapper))
        edges = vtk.vtkExtractEdges()
        edges.SetInputConnection(warp.GetOutputPort())
        lines = actor_of(edges, vtk.vtkPolyDataMapper(), (0.15, 0.15, 0.15))
        lines.GetProperty().SetLineWidth(1)
        lines.GetMapper().SetResolveCoincidentTopologyToPolygonOffset()
        renderer.AddActor(lines)
    renderer.AddActor2D(bar_of(colors))
    renderer.AddActor2D(text_of(title))
    vtk.vtkLightKit().AddLightsToRenderer(renderer)
    camera = renderer.GetActiveCamera()
    camera.SetViewUp(0, 0, 1)
    camera.SetPosition(-1.5, -2.5, 1.6)
    renderer.ResetCamera()
    camera.Zoom(1.25)
    save(renderer, output)


def bar_of(colors):
    bar = vtk.vtkScalarBarActor()
    bar.SetLookupTable(colors)
    bar.SetMaximumNumberOfColors(256)
    bar.SetNumberOfLabels(5)
    bar.SetLabelFormat("%.0f")
    bar.UnconstrainedFontSizeOn()
    plain(bar.GetLabelTextProperty())
    bar.SetPosition(0.84, 0.12)
    bar.SetWidth(0.1)
    bar.SetHeight(0.6)
    return bar


def text_of(title):
    text = vtk.vtkTextActor()
    text.SetInput(title)
    plain(text.GetTextProperty())
    text.GetPositionCoordinate().SetCoordinateSystemToNormalizedViewport()
    text.SetPosition(0.6, 0.8)
    return text


def plain(text):
    text.SetColor(0.1, 0.1, 0.1)
    text.SetFontSize(20)
    text.ShadowOff()
    text.ItalicOff()
    text.BoldOff()


def save(renderer, output):
    window = vtk.vtkRenderWindow()
    window.SetOffScreenRendering(1)
    window.SetMultiSamples(8)
    window.SetSize(*SIZE)
    window.AddRenderer(renderer)
    window.Render()
    grab = vtk.vtkWindowToImageFilter()
    grab.SetInput(window)
    grab.ReadFrontBufferOff()
    writer = vtk.vtkPNGWriter()
    writer.SetCompressionLevel(9)
    writer.SetFileName(output)
    writer.SetInputConnection(grab.GetOutputPort())
    writer.Write()
    if writer.GetErrorCode() != 0:
        sys.exit(f"picture: {output} can't be written")


def main(collection, output):
    step, files = files_of_last_static_step(pathlib.Path(collection))
    draw([read(file) for file in files], f"{step}: von Mises stress in MPa,\n"
         f"displacements times {MAGNIFICATION}", output)


main(*sys.argv[1:])
