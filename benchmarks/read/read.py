"""Measures the reader in Python. Usage: python3 read.py [--folder FOLDER] [--runs N] [--nodes EDGE]

Needs the package mekapi2 on PYTHONPATH. Writes a mesh of 10^6 nodes with displacement and stress in
3 steps (151 MB), in blocks of 10 MB, and a model of 100,000 variables. Prints times relative to
`zlib.decompress` of the same blocks, whose compressed bytes are in memory. The candidates take
turns. A program that reads at a quiet moment has the shortest time; medians are those of this run.
"""

from __future__ import annotations

import argparse
import os
import statistics
import sys
import tempfile
import time
import zlib
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

BLOCK_SIZE = 10 * 2**20
os.environ["MEKWRITER_DEFAULT_BLOCK_SIZE"] = str(BLOCK_SIZE)  # read when the library is loaded

import numpy as np  # noqa: E402

import mekapi2  # noqa: E402

VARIABLES = 100_000
SMALL = 10  # values in each of the variables


def field(edge: int, width: int, moment: int) -> np.ndarray:
    """Return a smooth field at the nodes of a cube; each component has a different shape."""
    angles = np.pi * np.arange(edge) / edge
    columns = []
    for component in range(width):
        shape = 0.7 + 0.3 * component
        x = 0.01 * (1 + moment) * np.sin(0.3 + 0.05 * moment + shape * angles)
        y, z = np.sin(0.9 + (shape + 0.2) * angles), np.sin(0.1 * shape + 1.1 * angles)
        columns.append(np.einsum("k,j,i->kji", z, y, x).ravel())
    return np.stack(columns, 1).astype(np.float32)


def hexahedra(edge: int) -> np.ndarray:
    """Return the connectivity of the cube in one dimension."""
    i = np.arange(edge - 1)
    first = (i[:, None, None] * edge + i[:, None]) * edge + i
    ring = np.array([0, 1, 1 + edge, edge])
    corners = np.concatenate([ring, ring + edge * edge])
    return (first[..., None] + corners).astype(np.uint32).ravel()


def write_bulk(path: Path, edge: int) -> None:
    with mekapi2.Model(path) as model:
        model.add_node("RootGroup", "bulk")
        shape = model.add_node("Shape", "HE8")
        model.add_array("Coordinates", field(edge, 3, 9), shape)
        model.add_array("Connectivity2", hexahedra(edge), shape)
        for step in range(1, 4):
            for name, width in (("Displacement", 3), ("Stress", 6)):
                values = field(edge, width, step)
                model.add_array(f"ResultA{width}", values, shape, name=name, steps=f"t={step}")


def write_many(path: Path) -> None:
    with mekapi2.Model(path) as model:
        model.add_node("RootGroup", "many")
        shape = model.add_node("Shape", "points")
        values = np.arange(SMALL, dtype=np.float32)
        for number in range(VARIABLES):
            step = f"t={number}"
            model.add_array("ResultA1", values, shape, name="T", steps=step)


def compressed_blocks(path: Path) -> list[bytes]:
    with mekapi2.open(path) as file, open(path, "rb") as stream:
        found = []
        for block in file._container.blocks:
            stream.seek(block.position + 4)  # after the length of the content
            found.append(stream.read(block.stored_length - 4))
        return found


class Time(NamedTuple):
    wall: float
    processor: float


def time_of(action: Callable[[], object]) -> Time:
    start = Time(time.perf_counter(), time.process_time())
    result = action()
    stop = Time(time.perf_counter(), time.process_time())
    del result  # freeing it is not measured
    return Time(stop.wall - start.wall, stop.processor - start.processor)


def read_all(path: Path, threads: int) -> object:
    with mekapi2.open(path) as file:
        return file.read_all(threads=threads)


def read_each(path: Path) -> None:
    """Read each array through its variable, as a program does that needs one at a time."""
    with mekapi2.open(path) as file:
        for variable in file.shapes[0].variables.values():
            for step in variable.steps or [None]:
                variable.array(step)


def read_one(path: Path) -> object:
    with mekapi2.open(path) as file:
        return file.shapes[0].variables["Displacement"].array("t=2")


def decompress(blocks: list[bytes], threads: int) -> None:
    if threads == 1:
        for block in blocks:
            zlib.decompress(block)
        return
    with ThreadPoolExecutor(threads) as pool:
        for _ in pool.map(lambda block: len(zlib.decompress(block)), blocks):
            pass


def measure_bulk(path: Path, runs: int) -> None:
    blocks = compressed_blocks(path)
    candidates: dict[str, Callable[[], object]] = {
        "zlib.decompress": lambda: decompress(blocks, 1),
        "  with 2 threads": lambda: decompress(blocks, 2),
        "read_all()": lambda: read_all(path, 1),
        "read_all(threads=2)": lambda: read_all(path, 2),
        "each array": lambda: read_each(path),
        "one array of 12 MB": lambda: read_one(path),
    }
    times: dict[str, list[Time]] = {name: [] for name in candidates}
    for _ in range(runs):
        for name, action in candidates.items():
            times[name].append(time_of(action))
    print(f"{'':20} seconds, median  shortest  CPU seconds, shortest")
    floors = [reduced(times["zlib.decompress"], of) for of in REDUCTIONS]
    for name, measured in times.items():
        columns = [reduced(measured, of) for of in REDUCTIONS]
        cells = [f"{each:6.3f} ({each / floor:4.2f} x)" for each, floor in zip(columns, floors)]
        print(f"{name:20} " + "  ".join(cells))


REDUCTIONS = ("median", "shortest", "processor")


def reduced(times: list[Time], how: str) -> float:
    if how == "processor":
        return min(each.processor for each in times)
    walls = [each.wall for each in times]
    return statistics.median(walls) if how == "median" else min(walls)


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--folder", help="for the files; by default a temporary one")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--nodes", type=int, default=100, help="along each edge of the cube")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        bulk, many = Path(folder, "bulk.mek"), Path(folder, "many.mek")
        write_bulk(bulk, options.nodes)
        print(f"bulk: {bulk.stat().st_size / 1e6:.0f} MB in blocks of {BLOCK_SIZE} bytes")
        measure_bulk(bulk, options.runs)
        write_many(many)
        opened = [time_of(lambda: mekapi2.open(many).close()).wall for _ in range(options.runs)]
        print(f"opening a model of {VARIABLES} variables: {statistics.median(opened):.3f} s")


if __name__ == "__main__":
    sys.exit(main())
