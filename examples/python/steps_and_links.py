"""Results for many steps on two shapes that share their nodes: every array is written once.

Usage: steps_and_links.py [FILE]
"""

import sys

import mekapi2
import numpy as np
from mekapi2 import Step

path = sys.argv[1] if len(sys.argv) > 1 else "steps_and_links.mek"

coordinates = np.array([[x, y, 0] for y in (0, 1) for x in (0, 1, 2)], np.float32)


def deflection(time):
    """The deflection of a bridge deck of six nodes, of which the middle ones swing."""
    displacement = np.zeros((6, 3))
    displacement[[1, 4], 2] = -0.1 * np.sin(2 * np.pi * time)
    return displacement


with mekapi2.Model.create(path, overwrite=True, tool_name="steps_and_links") as model:
    deck, edge = both = model.add_assembly_components(["/bridge/deck", "/bridge/edge"])

    # Both shapes get the coordinates. The first one owns them, the second one links to them.
    model.add_array("Coordinates", coordinates, both)
    model.add_array("Connectivity1", [0, 1, 4, 3, 1, 2, 5, 4], deck)
    model.add_array("Polylength1", [4, 4], deck)
    model.add_array("Connectivity0", [0, 1, 1, 2], edge)
    model.add_array("Polylength0", [2, 2], edge)

    # A result of several steps has one name; the step tells them apart, and its attributes go to
    # the array that is written.
    for number in range(9):
        time = number / 8
        step = Step(f"Step {number}", {"Number": number, "Time": time})
        model.add_array("Displacement3", deflection(time), both, steps=step, lossy=True)

    # What holds for several steps alike is given with all of them, and is written once as well.
    stress = [1.5, 2.5]
    rest, unit = ["Step 0", "Step 8"], {"Unit": "MPa"}
    model.add_array("ResultB1", stress, deck, name="Stress", steps=rest, attributes=unit)
