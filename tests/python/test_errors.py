"""What each invalid call raises: its class, and words of its message."""

import pickle

import mekapi2
import mekfile
import numpy as np
import pytest
from mekapi2 import Model, Step

MASKED = np.ma.masked_array([1, 2], [False, True])
HUGE = np.broadcast_to(np.float32(1), 2**60)

# In the model: group 1 "r", shape 2 with geometry 3 "s".
CALLS = [
    (lambda m: m.add_node("RootGroup", ""), "InvalidArguments", "RootGroup is only for the root"),
    (lambda m: m.add_node("Shape", "", {"a": 1}), "InvalidArguments", "a shape has no attributes"),
    (lambda m: m.add_node("Grup", ""), ValueError, "'Grup' is not a NodeType: FlaggedRootGroup"),
    (lambda m: m.add_node("Group", 5), TypeError, "name must be a string, not int"),
    (lambda m: m.add_node("Group", "\ud800"), ValueError, "not valid Unicode"),
    *((lambda m, value=value: m.add_node("Group", "", {"key": value}), kind, "'key'")
      for kind, values in {ValueError: [-1, 2**32, "x" * 257, "ä" * 129, "a\0b", 1e39],
                           TypeError: [[1], None, 1j]}.items() for value in values),
    (lambda m: m.set_current_node(9), "OutOfBounds", "no node has the id 9"),
    (lambda m: m.set_current_node(-1), ValueError, "node id -1 is not in 0 to 4294967295"),
    (lambda m: m.get_node_id(["r", 5]), TypeError, "each name of the path must be a string"),
    (lambda m: m.set_node_data(3, {"Translation": (1, 2, 3)}), "InvalidArguments",
     "Translation is for groups; node 3 is a geometry"),
    (lambda m: m.set_node_data(2, {"DiffuseColor": (1, 2)}), "InvalidArguments",
     "DiffuseColor takes 3 or 4 numbers, got 2"),
    (lambda m: m.set_node_data(2, attributes={"a": 1}), "InvalidArguments",
     "attributes are for groups; node 2 is a shape"),
    (lambda m: m.set_node_data(1, {"Scale": 1}), TypeError, "Scale takes 3 numbers, not 1"),
    (lambda m: m.set_node_data(1, {"Scale": [1, 2, "3"]}), TypeError, "Scale: expected a number"),
    (lambda m: m.set_node_data(2, {"MaterialFlag": 1}), TypeError, "must be True or False"),
    (lambda m: m.add_assembly_components("/r/x"), TypeError, "paths must be a list of strings"),
    (lambda m: m.add_assembly_components(["r/x"]), "InvalidArguments", "'r/x' does not start with"),
    (lambda m: m.add_assembly_components(["/q"]), "NotYetImplemented", "'/q' starts with another"),
    (lambda m: m.add_assembly_components({"/r/x": {"a": 1}}), "InvalidArguments",
     "attributes are for groups; the path '/r/x' does not end in '/'"),
    (lambda m: m.add_array("NodeIds", [1], 9), "KeyNotFound", "no node has the id 9"),
    (lambda m: m.add_array("NodeIds", [1], 1), "InvalidArguments", "node 1 is a group"),
    *((lambda m, ids=ids: m.add_array("NodeIds", [1], ids), kind, words) for ids, kind, words in [
        ("s", TypeError, "ids must be integers, the ids of shapes, not str"),
        ([2.0], TypeError, "must be an integer, not float"),
        (10**5000, ValueError, "node id an integer of 16610 bits is not in 0 to"),
        (np.array([], int), ValueError, "ids is empty; the array would belong to nothing"),
    ]),
    (lambda m: m.add_array(mekapi2.NodeType.Group, [1], 2), TypeError, "expected a DatasetType"),
    (lambda m: m.add_array("ResultA1", [1], 2), "InvalidArguments",
     "ResultA1 has no default name; pass name="),
    *((lambda m, given=given: m.add_array("NodeIds", [1], 2, **given), kind, words)
      for given, kind, words in [
        ({"name": "a\x1eb"}, ValueError, "name 'a\\x1eb' contains the character 0x1E"),
        ({"steps": 5}, TypeError, "steps must be names or Steps"),
        ({"steps": ""}, ValueError, "a step's name is empty"),
        ({"steps": []}, ValueError, "steps is empty"),
        ({"steps": ["a", Step("a")]}, ValueError, "the step 'a' is given twice"),
    ]),
    (lambda _: Step(5), TypeError, "a step's name must be a string, not int"),
    *((lambda m, key=key: m.add_array("NodeIds", [1], 2, steps=Step("a", {key: 1})),
       "InvalidArguments", f"attribute '{key}' is not stored with an array")
      for key in ("Complex", "Contents", "DataSource", "DataType", "Structure", "Link.x")),
    (lambda m: m.add_array("NodeIds", [1], 2, polylength=True), ValueError, "shape (m, k)"),
    (lambda m: m.add_array("NodeIds", 1, 2), ValueError, "NodeIds takes an array of shape (n,)"),
    (lambda m: m.add_array("Connectivity0", np.zeros((1, 2, 2)), 2), ValueError, "(n,) or (n, k)"),
    (lambda m: m.add_array("NodeIds", MASKED, 2), ValueError, "the array has masked values"),
    *((lambda m, array=array: m.add_array("NodeIds", array, 2), TypeError, words)
      for array, words in [
        ([1j], "takes real numbers, not complex128"),
        (["1"], "NodeIds takes numbers, not strings"),
        ([1, None], "takes real numbers, not None at [1]"),
        (np.array([1, 2], object), "takes real numbers, not Python objects"),
    ]),
    *((lambda m, kind=kind, array=array: m.add_array(kind, array, 2, name="x"), error, words)
      for kind, array, error, words in [
        ("Coordinates", [[1, 2, 3], [4, 5]], ValueError,
         "Coordinates takes an array of shape (n, 3); the rows differ in length"),
        ("Connectivity1", [0, 2**64], "InexactConversion",
         "takes whole numbers from 0 to 4294967295, got 18446744073709551616 at [1]"),
        ("ResultA1", [10**400], "InexactConversion",
         "an integer of 1329 bits at [0] is too large for a 32-bit float"),
        ("ResultA1", [1, 2**64], "InexactConversion",
         "18446744073709551616 at [1] does not fit in 64 bits; pass it as float"),
    ]),
    (lambda m: m.add_array("ResultA1", HUGE, 2, name="x"), MemoryError, ""),
    (pickle.dumps, TypeError, "cannot be copied or pickled"),
    (lambda m: Model(m.path), FileExistsError, "[Errno 17] File exists: "),
    (lambda m: (open(f"{m.path}.journal", "x").close(), Model(m.path, journal=True)),
     FileExistsError, "[Errno 17] Journal exists: "),
    (lambda m: Model(f"{m.path}x/x"), FileNotFoundError, "[Errno 2] No such file or directory: "),
    (lambda m: Model(""), ValueError, "the path is empty"),
    (lambda m: Model("a\0b"), ValueError, "'a\\x00b' contains a zero character"),
    (lambda m: Model("x", overwrite="no"), TypeError, "overwrite must be True or False, not str"),
    (lambda m: (m.close(), m.add_node("Group", "")), "InvalidObjectState", "the model is closed"),
]  # fmt: skip


def test_invalid_calls_change_nothing_and_name_the_culprit(tmp_path):
    trees = set()
    for number, (call, expected, words) in enumerate(CALLS):
        kind = getattr(mekapi2, expected) if isinstance(expected, str) else expected
        with Model(str(tmp_path / f"{number}.mek")) as model:
            model.add_assembly_components(["/r/s"])
            model.add_array("NodeIds", [7], 3)
            with pytest.raises(kind) as caught:
                call(model)
            message = str(caught.value)
            assert words in message and "\n" not in message, message
            if isinstance(caught.value, OSError):
                assert caught.value.filename in message and caught.value.strerror in message
        trees.add(mekfile.tree(tmp_path / f"{number}.mek"))
    assert len(trees) == 1


def test_errors_of_the_library_have_code_and_location(tmp_path):
    with pytest.raises(mekapi2.MiscelleneousException) as caught:
        Model(tmp_path / "none" / "x.mek")
    location = caught.value.location
    assert (caught.value.code, location.file) == (2, "tyr/qbf/qbfile.cpp")
    assert "OpenFile" in location.function and location.line > 0


def test_an_error_of_close_does_not_replace_an_exception():
    with pytest.raises(mekapi2.FileWriteException) as caught:
        with Model("/dev/full", overwrite=True) as model:
            model.add_node("RootGroup", "r")
    assert str(caught.value) == "[Errno 28] No space left on device: '/dev/full'"
    assert caught.value.code == 7 and model.closed
    model.close()
    with pytest.raises(ZeroDivisionError) as divided:
        with Model("/dev/full", overwrite=True) as model:
            1 / 0
    assert "/dev/full" in divided.value.__notes__[0]
