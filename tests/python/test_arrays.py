"""NumPy arrays of all types and memory layouts, as written to the file."""

import mekapi2
import mekfile
import numpy as np
import pytest
from mekapi2 import Model

TABLE = np.arange(24, dtype=np.float32).reshape(8, 3)
NAN_BITS = np.array([0x7FC00001, 0xFF800000, 0x80000000, 0x00000001], np.uint32)


def write(path, arrays):
    """Write arrays as results and return each as the reader finds it."""
    with Model(path) as model:
        (shape,) = model.add_assembly_components(["/r/s"])
        for number, array in enumerate(arrays):
            kind = f"ResultA{1 if np.ndim(array) == 1 else np.shape(array)[1]}"
            model.add_array(kind, array, shape, name=str(number))
    with mekapi2.open(path) as file:
        variables = file["/r/s"].variables
        return [variables[str(number)].array() for number in range(len(arrays))]


def test_keeps_values_in_every_memory_layout(path):
    unaligned = np.frombuffer(b"\0" + TABLE.tobytes(), np.uint8)[1:].view(np.float32).reshape(8, 3)
    wide = np.arange(96, dtype=np.float64).reshape(8, 12)
    layouts = [
        TABLE, np.asfortranarray(TABLE), TABLE[::2], TABLE[:, ::-1], TABLE[3:4], unaligned,
        TABLE.astype(">f4"), wide[:, 1::4], wide[::-3, 6:9], TABLE[::-2, 2], TABLE[:, 1:2],
        np.broadcast_to(np.float32(3), (4, 3)),
    ]
    for written, layout in zip(write(path, layouts), layouts, strict=True):
        assert written.dtype == np.float32
        mekfile.check_bits(written, layout)


def test_the_dataset_type_and_the_values_decide_the_element_type(path):
    floats = [np.nan, np.inf, -np.inf, -0.0, 2.0**-149, 3.4028234663852886e38, 0.1, -16777217]
    cases = [
        (np.array(floats), np.float32, floats),
        (np.array(floats, np.longdouble), np.float32, floats),
        (np.array([np.nan, 6e-8], np.float16), np.float32, [np.nan, 2.0**-24]),
        (NAN_BITS.view(np.float32), np.float32, NAN_BITS.view(np.float32)),
        ([1, 4294967295], np.uint32, [1, 4294967295]),
        (np.array([0, 255], np.uint8), np.uint32, [0, 255]),
        (np.array([0, 32767], ">i2"), np.uint32, [0, 32767]),
        (np.array([4294967295], np.uint64), np.uint32, [4294967295]),
        ([True, False], np.uint32, [1, 0]),
        (np.array([-1, 16777217]), np.float32, [-1, 16777216]),
        (np.array([2**64 - 1, 2**40], np.uint64), np.float32, [2.0**64, 2**40]),
        (np.array([16777217.0, 0.0]), np.float32, [16777216, 0]),
    ]
    for written, (_, dtype, expected) in zip(write(path, [case[0] for case in cases]), cases):
        assert written.dtype == dtype
        mekfile.check_bits(written, expected, dtype=dtype)


def test_meshes_are_stored_as_viewers_read_them(tmp_path):
    with Model(tmp_path / "mesh.mek") as model:
        (shape,) = model.add_assembly_components(["/r/TR3"])
        model.add_array("Coordinates", [[0, 0, 0], [1, 0, 0], [0, 1, 0], [1, 1, 0]], shape)
        triangles = np.array([[0.0, 1, 2], [1, 3, 2]]).T.copy().T
        model.add_array("Connectivity1", triangles, shape, polylength=True, steps=iter([None, "t"]))
        model.add_array("NodeIds", np.array([1.0, 4294967295, 3, -0.0]), shape)
        model.add_array("Displacement3", np.ones((4, 3), int), shape)
    (mesh, *_) = mekfile.exported(tmp_path / "mesh.mek")
    assert np.array_equal(mesh.cells[0].data, triangles)
    tree = mekfile.tree(tmp_path / "mesh.mek")
    for line in ('"Coordinates" type 1: 4 x 3 float', '"Connectivity" type 5: 6 x 1 unsigned',
                 '"Polylength" type 9: 2 x 1 unsigned, 3 to 3',
                 '"Connectivity\\x1Et" type 5: link',
                 '"Polylength\\x1Et" type 9: link',
                 '"Node Ids" type 12: 4 x 1 unsigned, 0 to 4294967295',
                 '"Displacement" type 13: 4 x 3 float'):  # fmt: skip
        assert line in tree


REFUSED = [
    ("ResultA1", [0.0, 1e300, -1e300], {}, (1,), "1e+300 at [1] is too large"),
    ("ResultA3", np.longdouble([[0, 0, "-1e39"]]), {}, (0, 2), "-1e+39 at [0, 2] is too large"),
    ("ResultA3", [[0.5, 1, 2], [3, 0.1, 4]], {"exact": True}, (1, 1), "0.1 at [1, 1] is not exact"),
    ("ResultA1", [-1, 16777217], {"exact": True}, (1,), "16777217 at [1] is not exact"),
    ("Coordinates", [[0, 0, 2**24 + 1]], {"exact": True}, (0, 2), "16777217 at [0, 2]"),
    ("Connectivity1", [[0, 1], [2, -1]], {}, (1, 1), "from 0 to 4294967295, got -1 at [1, 1]"),
    ("Connectivity0", [0, 0.5], {}, (1,), "got 0.5 at [1]"),
    ("NodeIds", [np.nan, 1], {}, (0,), "got nan at [0]"),
    ("Polylength2", np.uint64([1, 2**32]), {}, (1,), "got 4294967296 at [1]"),
]


def test_refuses_values_that_the_file_cannot_hold(tmp_path):
    with Model(tmp_path / "x.mek") as model:
        (shape,) = model.add_assembly_components(["/r/s"])
        for kind, array, options, index, words in REFUSED:
            with pytest.raises(mekapi2.InexactConversion) as caught:
                model.add_array(kind, array, shape, name="x", **options)
            assert caught.value.index == index and words in str(caught.value), str(caught.value)
        masked = np.ma.masked_array([1, 2], [False, True])
        model.add_array("ResultA1", masked[:1], shape, name="no value masked")
        model.add_array("Coordinates", [], shape)
    assert '"x"' not in mekfile.tree(tmp_path / "x.mek")
