"""Results for many steps on two shapes with the same nodes; each array is written once.

Usage: steps_and_links.py [FILE]
"""

import sys

import mekapi2
import numpy as np
from mekapi2 import Step

path = sys.argv[1] if len(sys.argv) > 1 else "steps_and_links.mek"

coordinates = np.array([[x, y, 0] for y in (0, 1) for x in (0, 1, 2)], np.float32)


def deflection(time):
    """Return the displacement of six nodes, shape (6, 3); the two middle nodes oscillate."""
    displacement = np.zeros((6, 3))
    displacement[[1, 4], 2] = -0.1 * np.sin(2 * np.pi * time)
    return displacement


with mekapi2.Model(path, overwrite=True, tool_name="steps_and_links") as model:
    deck, edge = both = model.add_assembly_components(["/bridge/deck", "/bridge/edge"])

    # The first shape owns the coordinates, the second links to them.
    model.add_array("Coordinates", coordinates, both)
    model.add_array("Connectivity1", [0, 1, 4, 3, 1, 2, 5, 4], deck)
    model.add_array("Polylength1", [4, 4], deck)
    model.add_array("Connectivity0", [0, 1, 1, 2], edge)
    model.add_array("Polylength0", [2, 2], edge)

    # A result has the same name in all steps. The attributes of the step are set on the variable
    # that owns the array.
    for number in range(9):
        time = number / 8
        step = Step(f"Step {number}", {"Number": number, "Time": time})
        model.add_array("Displacement3", deflection(time), both, steps=step)

    # An array that is the same for several steps is given once, with all of them.
    stress = [1.5, 2.5]
    rest, unit = ["Step 0", "Step 8"], {"Unit": "MPa"}
    model.add_array("ResultB1", stress, deck, name="Stress", steps=rest, attributes=unit)
