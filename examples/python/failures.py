"""Handling failures: what is raised, what it tells, and what becomes of the file.

Usage: failures.py [FILE]
"""

import sys

import mekapi2
import numpy as np

path = sys.argv[1] if len(sys.argv) > 1 else "failures.mek"


def tell(error):
    location = error.location
    print(f"{type(error).__name__} {error.code}: {error} ({location.file}, line {location.line})")


with mekapi2.Model.create(path, overwrite=True, tool_name="failures") as model:
    model.add_node("RootGroup", "root")
    shape = model.add_node("Shape", "shape")

    # Every failure of the library is a mekapi2.Error, and also what Python calls such a failure.
    try:
        model.set_current_node(1000)
    except mekapi2.Error as error:
        tell(error)
    try:
        model.add_array("ResultA1", [1, 2, 3], 1000, name="Lost")
    except KeyError as error:
        tell(error)

    # Values that the file cannot hold exactly are refused before anything is written.
    tenths = np.arange(4) / 10
    try:
        model.add_array("ResultA1", tenths, shape, name="Tenths")
    except mekapi2.InexactConversion as error:
        print(f"refused at {error.index}, now rounded: {error}")
        model.add_array("ResultA1", tenths, shape, name="Tenths", lossy=True)

# A file that exists is left alone unless overwrite=True is given.
try:
    mekapi2.Model.create(path)
except FileExistsError as error:
    tell(error)

# The failure of a closed model.
try:
    model.add_node("Group", "too late")
except mekapi2.InvalidObjectState as error:
    tell(error)

print(f"{path} written")
