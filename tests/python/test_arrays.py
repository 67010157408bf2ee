"""NumPy arrays of all types and memory layouts, as written to the file."""

import mekapi2
import mekfile
import numpy as np
import pytest
from mekapi2 import Model

TABLE = np.arange(24, dtype=np.float32).reshape(8, 3)
NAN_BITS = np.array([0x7FC00001, 0xFF800000, 0x80000000, 0x00000001], np.uint32)


@pytest.fixture
def write(tmp_path):
    """Writes arrays as results and returns each as exported to VTK."""

    def write_and_read(arrays, **options):
        path = tmp_path / "arrays.mek"
        with Model.create(path, overwrite=True) as model:
            model.add_node("RootGroup", "r")
            shape = model.add_node("Shape", "s")
            model.add_array("Coordinates", np.zeros((1, 3), np.float32), shape)
            for number, array in enumerate(arrays):
                kind = f"ResultA{1 if np.ndim(array) == 1 else np.shape(array)[1]}"
                model.add_array(kind, array, shape, name=str(number), **options)
        (mesh,) = mekfile.exported(path)
        data = {**mesh.field_data, **mesh.point_data}
        return [data[str(number)] for number in range(len(arrays))]

    return write_and_read


def check(written, expected, dtype):
    """The bits are equal, also those of -0 and NaN."""
    assert written.dtype == dtype
    expected = np.ascontiguousarray(expected, dtype).view(np.uint32)
    written = np.ascontiguousarray(written).view(np.uint32)
    np.testing.assert_array_equal(written.reshape(expected.shape), expected)


def test_keeps_values_in_every_memory_layout(write):
    unaligned = np.frombuffer(b"\0" + TABLE.tobytes(), np.uint8)[1:].view(np.float32).reshape(8, 3)
    wide = np.arange(96, dtype=np.float64).reshape(8, 12)
    layouts = [
        TABLE, np.asfortranarray(TABLE), TABLE[::2], TABLE[:, ::-1], TABLE[3:4], unaligned,
        TABLE.astype(">f4"), wide[:, 1::4], wide[::-3, 6:9], TABLE[::-2, 2], TABLE[:, 1:2],
        np.broadcast_to(np.float32(3), (4, 3)),
    ]
    for written, layout in zip(write(layouts), layouts, strict=True):
        check(written, layout, np.float32)


def test_accepts_every_number_that_is_kept_exactly(write):
    floats = [np.nan, np.inf, -np.inf, -0.0, 2.0**-149, 3.4028234663852886e38, 0.5, -16777216]
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
        (np.array([-1, 16777216]), np.float32, [-1, 16777216]),
        (np.array([2**63, 2**40], np.uint64), np.float32, [2**63, 2**40]),
        (np.array([-(2**63)]), np.float32, [-(2**63)]),
        (np.array([16777217.0, 0.0]), np.uint32, [16777217, 0]),
    ]
    for written, (_, dtype, expected) in zip(write([case[0] for case in cases]), cases):
        check(written, expected, dtype)


INEXACT = [
    (np.array([[0.5, 1, 2], [3, 0.1, 4]]), (1, 1), np.float32([[0.5, 1, 2], [3, 0.1, 4]])),
    (np.array([0.0, 1e300, -1e300]), (1,), [0, np.inf, -np.inf]),
    (np.array([-1, 16777217]), (0,), [-1, 16777216]),
    (np.array([2**64 - 1], np.uint64), (0,), [2.0**64]),
    (np.array([16777217.0, -0.0]), (0,), [16777216, -0.0]),
]


def test_rejects_inexact_values_unless_lossy(write):
    for array, index, _ in INEXACT:
        with pytest.raises(mekapi2.InexactConversion, match="lossy=True") as caught:
            write([array])
        assert caught.value.index == index
    for written, (*_, rounded) in zip(write([case[0] for case in INEXACT], lossy=True), INEXACT):
        check(written, rounded, np.float32)


def test_rejects_arrays_of_other_types_and_shapes(tmp_path):
    masked = np.ma.masked_array([1, 2], [False, True])
    cases = [
        ("ResultA1", 1, ValueError), ("ResultA1", np.zeros((2, 2, 1)), ValueError),
        ("ResultA1", np.zeros((2, 3)), ValueError), ("Coordinates", np.zeros(3), ValueError),
        ("ResultA1", masked, ValueError), ("ResultA1", [1j], TypeError),
        ("ResultA1", ["1"], TypeError), ("ResultA1", [None], TypeError),
        ("ResultA1", np.zeros(2, "f4,f4"), TypeError),
        ("NodeIds", np.broadcast_to(np.float32(1), 2**60), MemoryError),
    ]
    with Model.create(tmp_path / "x.mek") as model:
        model.add_node("RootGroup", "r")
        shape = model.add_node("Shape", "s")
        for kind, array, exception in cases:
            with pytest.raises(exception):
                model.add_array(kind, array, shape, name="x")
        model.add_array("ResultA1", masked[:1], shape, name="no value masked")
        model.add_array("Coordinates", [], shape)
