"""A bar of two hexahedra, with ids and the temperature at its nodes.

Usage: first_model.py [FILE]
"""

import sys

import mekapi2
import numpy as np

path = sys.argv[1] if len(sys.argv) > 1 else "first_model.mek"

# Three cross sections of four nodes each, at x = 0, 1 and 2: one row of x, y, z for each node.
section = [[0, 0], [1, 0], [1, 1], [0, 1]]
coordinates = np.array([[x, y, z] for x in range(3) for y, z in section])

with mekapi2.Model(path, overwrite=True, tool_name="first_model") as model:
    model.add_node("RootGroup", "bar")
    solid = model.add_node("Shape", "HE8")  # the id that add_array accepts

    # The file stores 32-bit floats and unsigned integers. NumPy's arrays of 64 bits are rounded.
    model.add_array("Coordinates", coordinates, solid)
    model.add_array("NodeIds", [11, 12, 13, 14, 21, 22, 23, 24, 31, 32, 33, 34], solid)

    # The connectivity lists the nodes of each element, by row of the coordinates. The polylength,
    # which polylength=True adds, is the number of nodes of each element. The suffix 2 means solid
    # elements.
    elements = [range(0, 8), range(4, 12)]
    model.add_array("Connectivity2", elements, solid, polylength=True)
    model.add_array("ElementIds", [1, 2], solid)

    # A result needs a name.
    temperature = np.repeat([20.0, 45.0, 70.0], 4)
    model.add_array("ResultA1", temperature, solid, name="Temperature")

# The file is complete at the end of the block.
