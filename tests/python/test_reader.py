"""The reader returns what was written, and what the C++ reader finds."""

import ctypes
import ctypes.util
import os
import zlib
from concurrent.futures import ThreadPoolExecutor

import mekapi2
import numpy as np
import oracle
import pytest
from mekapi2 import DatasetType, Model, Step

MODELS = int(os.environ.get("READER_MODELS", "100"))  # 2000 take a few minutes
WORDS = ["", "a", "b", "a b", "ä/ö", "模型", "x" * 200, "\U0001f642"]


class RandomModel:
    """Adds nodes, properties and arrays in random order, some of them again."""

    def __init__(self, path, seed, monkeypatch, sizes=(50, 999, 10**6)):
        self.random = np.random.default_rng(seed)
        monkeypatch.setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", str(self.random.choice(sizes)))
        self.written, self.shapes, self.groups = {}, [], {}
        threads = (None, 1, 2)[seed % 3]
        with Model(path, tool_name=self.word(), tool_version="1", threads=threads) as self.model:
            self.add_group("RootGroup")
            for _ in range(self.random.integers(1, 60)):
                self.random.choice([self.add_node, self.set_data, self.add_array, self.add_array])()

    def word(self):
        return str(self.random.choice(WORDS))

    def attributes(self):
        values = [int(self.random.integers(2**32)), float(self.random.normal()), self.word(), True]
        return {f"{self.word()}{n}": self.random.choice(np.array(values, object)) for n in range(3)}

    def add_group(self, kind):
        attributes = self.attributes()
        self.groups[self.model.add_node(kind, self.word(), attributes)] = attributes

    def add_node(self):
        self.model.set_current_node(int(self.random.choice([*self.groups])))
        if self.random.random() < 0.5:
            self.add_group("Group")
        else:
            self.shapes.append(self.model.add_node("Shape", self.word()))

    def set_data(self):
        numbers = self.random.normal(size=10)
        placed = {"Translation": numbers[:3], "Rotation": numbers[3:7], "Scale": numbers[7:]}
        group, attributes = int(self.random.choice([*self.groups])), self.attributes()
        self.model.set_node_data(group, placed, attributes)
        self.groups[group].update(attributes)
        if self.shapes:
            colored = {"DiffuseColor": numbers[:3], "Shininess": numbers[3], "MaterialFlag": False}
            self.model.set_node_data(int(self.random.choice(self.shapes)), colored)

    def add_array(self):
        if not self.shapes:
            return
        kind = DatasetType(int(self.random.choice(list(DatasetType))))
        most = 40 if self.random.random() < 0.95 else 60_000  # several chunks
        shape = (int(self.random.integers(1, most)), kind.width)
        bits = self.random.integers(0, 2 ** self.random.integers(1, 33), shape, np.uint32)
        floats = np.where(np.isnan(bits.view(np.float32)), 1, bits.view(np.float32))
        array = floats if kind.name[:3] in ("Coo", "Dis", "Res") else bits
        ids = [int(one) for one in dict.fromkeys(self.random.choice(self.shapes, 3))]
        is_again = self.random.random() < 0.3  # links to a variable have its new array
        name = "again" if is_again else f"{self.word()}{len(self.written)}"
        steps = [Step(f"s{n}", self.attributes()) for n in range(self.random.integers(3))] or None
        self.model.add_array(kind, array, ids, name=name, steps=steps, attributes=self.attributes())
        for step in [] if is_again else [step.name for step in steps or []] or [None]:
            for one in ids:
                self.written[one, name, step] = array.reshape(-1) if kind.width == 1 else array


def decompress_with_libdeflate(block, length):
    library = ctypes.CDLL(ctypes.util.find_library("deflate"))
    library.libdeflate_alloc_decompressor.restype = ctypes.c_void_p
    decompressor = ctypes.c_void_p(library.libdeflate_alloc_decompressor())
    content = ctypes.create_string_buffer(length)
    sizes = ctypes.c_size_t(len(block)), ctypes.c_size_t(length)
    result = library.libdeflate_zlib_decompress(
        decompressor, block, sizes[0], content, sizes[1], None
    )
    library.libdeflate_free_decompressor(decompressor)
    assert result == 0
    return content.raw


def check_blocks_with_libdeflate(path):
    with mekapi2.open(path) as file, open(path, "rb") as stream:
        for block in file._container.blocks:
            if block.is_compressed and block.length:
                stream.seek(block.position)
                length = int.from_bytes(stream.read(4), "little")
                stored = stream.read(block.stored_length - 4)
                assert decompress_with_libdeflate(stored, length) == zlib.decompress(stored)


def test_reads_random_models_as_the_reader_in_cpp(path, monkeypatch):
    arrays = 0
    for seed in range(MODELS):
        path.unlink(missing_ok=True)
        model = RandomModel(path, seed, monkeypatch)
        assert oracle.read(path) == oracle.ask(path), seed
        if ctypes.util.find_library("deflate"):
            check_blocks_with_libdeflate(path)
        with mekapi2.open(path) as file:
            found = file.read_all(threads=1 + seed % 2)
            for group, attributes in model.groups.items():
                floats = {key: np.float32(one) for key, one in attributes.items()
                          if isinstance(one, float)}  # fmt: skip
                stored = file.nodes[group - 1].attributes
                assert stored == {**attributes, **floats}, (seed, group)
                assert [*stored] == sorted(stored, key=str.encode), (seed, group)
        arrays += len(found)
        for key, array in model.written.items():
            is_equal = found[key].dtype == array.dtype and np.array_equal(found[key], array)
            assert is_equal, (seed, key)
    assert arrays > 5 * MODELS


def write_plate(path):
    with Model(path, tool_name="solver") as model:
        model.add_node("RootGroup", "plate", {"Mass": 0.1, "Parts": 2, "Note": "ä"})
        part = model.add_node("Group", "part")
        quarter = {"Rotation": [0, 0, 2, np.pi / 2], "Scale": [2, 1, 1]}
        model.set_node_data(part, {"Translation": [1, 2, 3], **quarter})
        outer = model.add_node("Group", "a/b")
        model.set_node_data(outer, {"Translation": [10, 0, 0]})
        mesh = model.add_node("Shape", "surface")
        model.set_node_data(mesh, {"Transparency": 0.5})
        model.add_array("Coordinates", np.eye(3), mesh)
        steps = [Step(f"t={time}", {"Time": time}) for time in (0.5, 0.1)]
        model.add_array("ResultA1", [1, 2.5, np.nan], mesh, name="T", steps=steps)
        model.add_array("ResultA1", [3, 4, 5], mesh, name="U", steps=steps[1])
        model.add_array("ResultB6", [range(6)], mesh, name="T", attributes={"Unit": "K"})


def test_names_nodes_steps_and_variables(path):
    write_plate(path)
    with mekapi2.open(path) as file:
        assert repr(file).endswith("model.mek': 5 nodes, 1 shape, 2 steps>")
        assert file.info[:3] == ("solver", "", "1.3")
        (shape,) = file.shapes
        assert (file.steps, file.times) == (["t=0.5", "t=0.1"], {"t=0.5": 0.5, "t=0.1": 0.1})
        assert file["/plate/part/a/b/surface"] is shape is file["plate/part/a/b/surface"]
        assert [node.kind for node in file] == ["group", "group", "group", "shape", "geometry"]
        assert shape.path in file and "/plate/other" not in file and shape.parent.name == "a/b"
        assert (shape.path, shape.id) == ("/plate/part/a/b/surface", 4)
        assert shape.children == [file.nodes[4]] == [shape.geometry]
        assert file.root.parent is None
        assert file.root.attributes == {"Mass": np.float32(0.1), "Parts": 2, "Note": "ä"}
        expected = [[0, -1, 0, 1], [2, 0, 0, 22], [0, 0, 1, 3], [0, 0, 0, 1]]
        np.testing.assert_allclose(shape.world_placement, expected, atol=1e-6)
        np.testing.assert_array_equal(shape.placement, np.eye(4))
        assert shape.material.transparency == 0.5 and file.root.material is None
        variable = shape.variables["T"]
        assert repr(variable).endswith(" float32 (3,), 2 steps: 't=0.5' ... 't=0.1'>")
        assert (variable.steps, variable.name, variable.node) == (file.steps, "T", file.nodes[4])
        assert variable.attributes() == {"Unit": "K"}
        assert list(variable.attributes("t=0.5")) == ["Time"]
        assert [variable.is_link(step) for step in (None, *file.steps)] == [False, False, True]
        assert variable.owner("t=0.1") == (variable, "t=0.5")
        np.testing.assert_array_equal(variable.array(), np.float32([range(6)]))
        np.testing.assert_array_equal(variable.array("t=0.1"), np.float32([1, 2.5, np.nan]))
        with pytest.raises(KeyError, match="has no step 't=7'"):
            variable.array("t=7")
    with pytest.raises(ValueError, match="closed"):
        variable.array()
    for missing in (path.with_name("none"), path.parent):
        with pytest.raises(OSError):
            mekapi2.open(missing)


def test_threads_share_a_file_and_the_cache_is_bounded(path, monkeypatch):
    monkeypatch.setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "1000")
    arrays = np.random.default_rng(1).random((40, 500), np.float32)
    with Model(path) as model:
        (shape,) = model.add_assembly_components(["/r/s"])
        for step, array in enumerate(arrays):
            model.add_array("ResultA1", array, shape, name="R", steps=str(step))
    with mekapi2.open(path, cache_size=8000) as file, ThreadPoolExecutor(8) as pool:
        variable = file["/r/s"].variables["R"]
        steps = 20 * variable.steps
        for step, array in zip(steps, pool.map(variable.array, steps)):
            assert np.array_equal(array, arrays[int(step)])
        assert sum(map(len, file._container._cache.values())) <= 8000
        variable.array(steps[-1])
        file._container.content = None  # a block that is cached is not read again
        assert np.array_equal(variable.array(steps[-1]), arrays[-1])
