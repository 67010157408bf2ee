"""Results of many steps on two shapes that share their nodes: every array is written once.

Usage: steps_and_links.py [FILE]
"""

import sys

import mekapi2
import numpy as np
from mekapi2 import Step

path = sys.argv[1] if len(sys.argv) > 1 else "steps_and_links.mek"

# A row of two quadrilaterals and, on the same nodes, the beam along its lower edge.
coordinates = [[x, y, 0] for y in (0, 1) for x in (0, 1, 2)]

with mekapi2.Model.create(path, overwrite=True, tool_name="steps_and_links") as model:
    plate, edge = model.add_assembly_components(["/bridge/plate", "/bridge/edge"])

    # Both shapes name the same coordinates: the plate owns them, the edge links to them.
    model.add_array("Coordinates", coordinates, [plate, edge])
    model.add_array("Connectivity1", [0, 1, 4, 3, 1, 2, 5, 4], plate)
    model.add_array("Polylength1", [4, 4], plate)
    model.add_array("Connectivity0", [0, 1, 1, 2], edge)
    model.add_array("Polylength0", [2, 2], edge)

    # One array for each moment, attached to both shapes.
    for number, time in enumerate(np.linspace(0, 1, 5), 1):
        displacement = np.zeros((6, 3), np.float32)
        displacement[:, 2] = np.sin(2 * np.pi * time) * np.array([0, 1, 0, 0, 1, 0])
        step = Step(f"Step {number} t={time:g}", {"Step": number, "Time": time})
        model.add_array("Displacement3", displacement, [plate, edge], steps=step)

    # A value that holds for several steps is written once as well.
    thickness = np.full(2, 0.25, np.float32)
    model.add_array("ResultB1", thickness, plate, name="Thickness", steps=["Dead load", "Traffic"])

print(f"{path} written")
