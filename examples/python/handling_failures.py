"""What goes wrong, what a failure tells, and what becomes of the model and the file.

Usage: handling_failures.py [FILE]
"""

import contextlib
import sys

import mekapi2
from mekapi2 import Model

path = sys.argv[1] if len(sys.argv) > 1 else "handling_failures.mek"


@contextlib.contextmanager
def attempt(what):
    """What is done in the block is expected to fail.

    Every failure of the library is a `mekapi2.Error`: it has a number, a text, and the place where
    it was raised. It is also what Python calls such a failure: a FileExistsError, a KeyError.
    """
    try:
        yield
        print(f"{what}: went well")
    except mekapi2.Error as error:
        place = f"{error.location.file}, line {error.location.line}"
        print(f'{what}: {error.code} "{error}" from {place}')
    except ValueError as error:  # of values that the file cannot hold, before anything is written
        print(f"{what}: {error}")


with attempt("a file in a folder that is not there"):
    Model.create(f"{path}.missing/model.mek")

with Model.create(path, overwrite=True, tool_name="handling_failures") as model:
    model.add_node("RootGroup", "root")
    shape = model.add_node("Shape", "shape")
    values = [1.0, 2.0, 3.0]
    with attempt("an array of another width"):
        model.add_array("Coordinates", values, shape)
    with attempt("an unknown id"):
        model.add_array("ResultA1", values, 1000, name="T")
    with attempt("a value that a 32-bit float does not hold"):
        model.add_array("ResultA1", [0.1], shape, name="T")

    # Nothing was broken: the model goes on, from a node that is there.
    model.set_current_node(shape)
    model.add_array("ResultA1", values, shape, name="T")

    # Close it yourself to handle what goes wrong then, such as a full disk; the end of the block
    # closes too, and raises.
    with attempt("the end"):
        model.close()

with attempt("a node without a file"):
    model.add_node("Group", "late")

# A file that stands there is kept unless overwrite=True is given.
with attempt("the same file again"):
    Model.create(path)
