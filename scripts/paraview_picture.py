"""Draws docs/images/paraview.png with the plug-in: the last load step of the demo's bracket.

Usage: xvfb-run -s "-screen 0 1280x1024x24 -noreset" pvpython --force-offscreen-rendering
    scripts/paraview_picture.py MODEL.mek OUTPUT.png

PYTHONPATH has the folders of the plug-in and of the Python package. ParaView connects twice to the X
server, which would reset after the first connection.
"""
import pathlib
import sys

import mekapi2.reader
from paraview import simple

PLUGIN = pathlib.Path(__file__).parents[1] / "paraview" / "MekReader.xml"
STEP = "Step 6 t=2"


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


def main(model, output):
    simple.LoadPlugin(str(PLUGIN))
    with mekapi2.reader.open(model) as file:
        draw(simple.OpenDataFile(model), file.times[STEP], output)


if __name__ == "__main__":
    main(*sys.argv[1:])
