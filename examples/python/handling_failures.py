"""Errors of the library, and the state of the model and the file after them.

Usage: handling_failures.py [FILE]
"""

import contextlib
import sys

import mekapi2
from mekapi2 import Model

path = sys.argv[1] if len(sys.argv) > 1 else "handling_failures.mek"


@contextlib.contextmanager
def attempt(what):
    """Run a block that is expected to raise an exception, and print it.

    The exceptions of the library are subclasses of `mekapi2.Error` with a code. They also derive
    from a built-in exception, such as FileExistsError or KeyError.
    """
    try:
        yield
        print(f"{what}: no error")
    except OSError as error:
        print(f"{what}: {error.strerror}: {error.filename}")
    except mekapi2.Error as error:
        print(f"{what}: code {error.code}, {error}")
    except ValueError as error:  # an invalid array; nothing is written
        print(f"{what}: {error}")


with attempt("a file in a folder that does not exist"):
    Model(f"{path}.missing/model.mek")

with Model(path, overwrite=True, tool_name="handling_failures") as model:
    model.add_node("RootGroup", "root")
    shape = model.add_node("Shape", "shape")
    values = [1.0, 2.0, 3.0]
    with attempt("an array with an invalid number of columns"):
        model.add_array("Coordinates", values, shape)
    with attempt("an unknown id"):
        model.add_array("ResultA1", values, 1000, name="T")
    with attempt("a value that is not exact in 32 bits"):
        model.add_array("ResultA1", [0.1], shape, name="T", exact=True)

    # The model is still usable.
    model.add_array("ResultA1", values, shape, name="T")

    # Call close to handle its errors, such as a full disk. Otherwise the end of the block closes
    # the model and raises them.
    with attempt("close"):
        model.close()

with attempt("a node in a closed model"):
    model.add_node("Group", "late")

# An existing file is replaced only with overwrite=True.
with attempt("an existing file"):
    Model(path)
