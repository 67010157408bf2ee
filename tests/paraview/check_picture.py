"""Compares an image of the last load step of the demo's bracket with the one in the documentation.

Usage: pvpython check_picture.py FRD2MEK
"""
import pathlib
import subprocess
import sys
import tempfile

import numpy as np
import paraview_picture
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkIOImage import vtkPNGReader

ROOT = pathlib.Path(__file__).parents[2]
ALIKE = 0.98  # structural similarity; that of an image of the first step is 0.93
SMOOTHING = 7  # pixels


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


with tempfile.TemporaryDirectory() as name:
    model, image = (pathlib.Path(name) / file for file in ("bracket.mek", "image.png"))
    subprocess.run([sys.argv[1], ROOT / "examples/bracket/coarse.frd", model], check=True)
    paraview_picture.main(str(model), image)
    alike = similarity(gray(image), gray(ROOT / "docs" / "images" / "paraview.png"))
    assert alike > ALIKE, alike
