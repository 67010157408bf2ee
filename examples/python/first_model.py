"""The first model: one surface of four quadrilaterals, and a temperature at its nodes.

Usage: first_model.py [FILE]
"""

import sys

import mekapi2
import numpy as np

path = sys.argv[1] if len(sys.argv) > 1 else "first_model.mek"

# Nine nodes in three rows. Elements name their nodes by row numbers of the coordinates.
x, y = np.meshgrid([0, 1, 2], [0, 1, 2])
coordinates = np.stack([x.ravel(), y.ravel(), np.zeros(9, int)], axis=1)
first = np.array([0, 1, 3, 4])
connectivity = (first[:, np.newaxis] + [0, 1, 4, 3]).ravel()

with mekapi2.Model.create(path, overwrite=True, tool_name="first_model") as model:
    model.add_node("RootGroup", "plate")
    surface = model.add_node("Shape", "surface")

    model.add_array("Coordinates", coordinates, surface)
    model.add_array("Connectivity1", connectivity, surface)
    model.add_array("Polylength1", np.full(len(first), 4), surface)

    # The file holds 32-bit floats. What they do not hold exactly is rounded only when asked for.
    temperature = 20 + 0.1 * np.hypot(x, y).ravel()
    model.add_array("ResultA1", temperature, surface, name="Temperature", lossy=True)

print(f"{path} written")
