"""The reader finds damage as the C++ reader does, in bounded memory and time."""

import os
import struct
import tracemalloc
import zlib

import mekapi2
import numpy as np
import oracle
import pytest
import test_reader
from mekapi2 import CircularLinkError, FormatError, Model, UnfinishedError

EVERY = int(os.environ.get("READER_DAMAGE_STEP", "61"))  # 1 flips every bit, which takes minutes
HEAVY, TREE, LIGHT = "Heavy Data", "Mek Tree", "Light Data"
STREAMS = [HEAVY, TREE, LIGHT, "Attributes", "Resources", "Global Information"]


def written(path, tables, monkeypatch):
    """Return the file of a model with one, two or three index tables."""
    path.unlink(missing_ok=True)
    sizes = [{1: 10**7, 2: 200, 3: 10}[tables]]
    test_reader.RandomModel(path, 18, monkeypatch, sizes)
    return path.read_bytes()


def content(path):
    with mekapi2.open(path) as file:
        return {name: file._container.stream(name) for name in STREAMS}


def container(streams):
    """Return a container with one block for each stream, which has valid checksums."""
    entries = blocks = b""
    for number, (name, data) in enumerate([*streams.items(), *[(None, b"")] * 14][:20]):
        block = struct.pack("<I", len(data)) + zlib.compress(data) if name else b""
        field = name.encode() if name else b"\x0bEmpty Block "
        entries += struct.pack("<BI128sIBB", number + 1, 128, field, len(block), bool(name), 0)
        blocks += block
    return b"\x89QBF\r\n\x1a\n1.3\0" + struct.pack("<II", 2784, 20) + entries + blocks


def test_each_flipped_bit_has_the_same_verdict(path, monkeypatch):
    for tables, step in ((1, EVERY), (2, 41 * EVERY), (3, 997 * EVERY)):
        undamaged = written(path, tables, monkeypatch)
        assert oracle.read(path) == oracle.ask(path)
        with mekapi2.open(path) as file:
            assert len(file._container.blocks) > {1: 5, 2: 20, 3: 220}[tables]
        verdicts = []
        for bit in range(tables, 8 * len(undamaged), step):
            damaged = bytearray(undamaged)
            damaged[bit // 8] ^= 1 << bit % 8
            path.write_bytes(damaged)
            verdicts.append(oracle.ask(path))
            assert oracle.read(path) == verdicts[-1], (tables, bit)
        assert verdicts.count("damaged") > len(verdicts) / 2


def test_unfinished_files_are_recognized(path, monkeypatch):
    for tables in (1, 2, 3):
        finished = written(path, tables, monkeypatch)
        sizes = range(1, len(finished), 7 * EVERY + 4)
        states = [finished[:size] for size in sizes]
        in_table = [size for size in sizes if 12 < size < 2600]
        states += [finished[:size] + bytes(len(finished) - size) for size in in_table]
        states.append(finished + b"x")
        for state in states:
            path.write_bytes(state)
            assert oracle.read(path) == oracle.ask(path) == "unfinished", (tables, len(state))
    path.write_bytes(finished[:5000])
    with pytest.raises(UnfinishedError, match="^file is unfinished: .* mekrecover"):
        mekapi2.open(path)


def test_changes_below_valid_checksums_have_the_same_verdict(path, monkeypatch):
    written(path, 1, monkeypatch)
    streams = content(path)
    random, verdicts = np.random.default_rng(1), set()
    for _ in range(12_000 // EVERY):
        name = random.choice(STREAMS[1:])
        data = bytearray(streams[name])
        at = random.integers(len(data))
        if random.random() < 0.5:
            data[at] = random.choice([0, 1, 5, 0x7F, 0xFF, data[at] ^ 1])
        else:
            data[at : at + 4] = random.choice([b"\xff" * 4, b"\xff\xff\xff\x7f", b"", b"12345"])
        path.write_bytes(container({**streams, name: bytes(data)}))
        tracemalloc.start()
        found = oracle.read(path)
        assert tracemalloc.get_traced_memory()[1] < 2_000_000
        tracemalloc.stop()
        assert found == oracle.ask(path), (name, at, data[at : at + 4])
        verdicts.add(found if isinstance(found, str) else "valid")
    assert verdicts == {"valid", "damaged"}


@pytest.mark.parametrize(
    "position, bytes_, error, place, in_cpp",
    [
        (0, b"X", "not a model file", (None, None, 0), "not a model file"),
        (20, b"\7", "block 0: its id is 7", (0, None, None), "(\"Heavy Data\"): the id is 7"),
        (157, b"\2", "block 0: it has the unknown flags 0x02", (0, None, None), "unknown flags"),
        (2800, b"\xff" * 4, "less content than its length says", (0, HEAVY, None), "less content"),
        (2800, bytes(4), "more content than its length says", (0, HEAVY, None), "more content"),
        (2804, b"\x79", "incorrect header check", (0, HEAVY, None), "incorrect header check"),
    ],
)
def test_the_error_says_what_and_where(path, monkeypatch, position, bytes_, error, place, in_cpp):
    data = written(path, 1, monkeypatch)
    path.write_bytes(data[:position] + bytes_ + data[position + len(bytes_) :])
    assert in_cpp in oracle.mekinfo("--check", path).stdout
    tracemalloc.start()
    with pytest.raises(FormatError, match=error) as caught, mekapi2.open(path) as file:
        file.check()
    assert tracemalloc.get_traced_memory()[1] < 2_000_000
    tracemalloc.stop()
    assert (caught.value.block, caught.value.stream, caught.value.offset) == place


def linked(path, count, target):
    """Write a shape with ``count`` links; ``target`` gives the index of the target of each."""
    with Model(path, overwrite=True) as model:
        model.add_node("RootGroup", "r")
        model.add_array("ResultA1", [1.5], model.add_node("Shape", "s"), name="0")
    streams = content(path)
    light = [streams[LIGHT][:41], struct.pack("<I", count + 1), streams[LIGHT][45:]]
    for index in range(1, count + 1):
        name = str(index).encode()
        light.append(struct.pack(f"<I{len(name)}sI", len(name), name, 0x100000C))
        light.append(struct.pack("<BIIB", 1, 3, target(index), 0))
    attributes = streams["Attributes"] + bytes(24 * count)
    path.write_bytes(container({**streams, LIGHT: b"".join(light), "Attributes": attributes}))


def test_circles_and_long_chains_of_links(path):
    linked(path, 4, lambda index: {1: 0, 2: 3, 3: 2, 4: 2}[index])
    assert oracle.read(path) == oracle.ask(path)
    with mekapi2.open(path) as file:
        file.check()
        variables = file["/r/s"].variables
        assert variables["1"].array() == [1.5] and len(file.read_all()) == 2
        for name in "234":
            assert not variables[name].has_array() and "no array" in repr(variables[name])
            for method in ("array", "owner"):
                error = f"variable '{name}' of node 3 .*circle"
                with pytest.raises(CircularLinkError, match=error):
                    getattr(variables[name], method)()
    linked(path, 1, lambda index: 9)
    with mekapi2.open(path) as file, pytest.raises(FormatError, match="variable 9 of node 3"):
        file.read_all()

    # a chain of links, each of them to the next: following it for each variable would take minutes
    count = 50_000
    linked(path, count, lambda index: index + 1 if index < count else 0)
    with mekapi2.open(path) as file:
        file.check()
        assert file["/r/s"].variables["1"].array() == [1.5]


def test_a_deep_tree_and_pipes(path, tmp_path):
    with Model(path) as model:
        for _ in range(3000):
            model.add_node("Group", "/")
    with mekapi2.open(path) as file:
        file.check()
        deepest = file.nodes[-1]
        assert file[deepest.path] is deepest
        np.testing.assert_array_equal(deepest.world_placement, np.eye(4))
    os.mkfifo(tmp_path / "pipe")
    with pytest.raises(FormatError, match="no regular file"):
        mekapi2.open(tmp_path / "pipe")
