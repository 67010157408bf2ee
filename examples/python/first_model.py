"""The first model: a bar of two hexahedra, with ids and the temperature at its nodes.

Usage: first_model.py [FILE]
"""

import sys

import mekapi2
import numpy as np

path = sys.argv[1] if len(sys.argv) > 1 else "first_model.mek"

# Three cross sections of four nodes each, at x = 0, 1 and 2: one row of x, y, z for each node.
section = [[0, 0], [1, 0], [1, 1], [0, 1]]
coordinates = np.array([[x, y, z] for x in range(3) for y, z in section])

with mekapi2.Model.create(path, overwrite=True, tool_name="first_model") as model:
    model.add_node("RootGroup", "bar")
    solid = model.add_node("Shape", "HE8")  # arrays go to this id

    # The file holds 32-bit floats and unsigned numbers. Whole numbers go in as the latter, so
    # coordinates are made floats here.
    model.add_array("Coordinates", coordinates.astype(np.float32), solid)
    model.add_array("NodeIds", [11, 12, 13, 14, 21, 22, 23, 24, 31, 32, 33, 34], solid)

    # Elements name their nodes by the rows of the coordinates, one element after the other; the
    # polylength says how many nodes each one has. The 2 stands for elements of three dimensions.
    model.add_array("Connectivity2", [*range(0, 8), *range(4, 12)], solid)
    model.add_array("Polylength2", [8, 8], solid)
    model.add_array("ElementIds", [1, 2], solid)

    # A result has a name. What the file does not hold exactly is rounded only when asked for.
    temperature = np.repeat([20.0, 45.0, 70.0], 4)
    model.add_array("ResultA1", temperature, solid, name="Temperature", lossy=True)

# Only now the file is complete.
