"""Measures the reader in Python.

Usage: python3 read.py [--folder FOLDER] [--runs N] [--nodes EDGE] [--figures FILE]

Needs the package mekapi2 on PYTHONPATH. Writes a mesh of 10^6 nodes with displacement and stress in
3 steps (151 MB), once in one block and once in blocks of 10 MB, and a model of 100,000 variables.
The same arrays are written with h5py (shuffle and gzip level 6, chunks of 1 MiB) and with meshio
(VTU, compressed by zlib, a file for each step), if these are installed. Prints times relative to
`zlib.decompress` of the blocks, whose compressed bytes are in memory. The candidates take turns.
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

import mekapi2
import numpy as np

try:
    import h5py
except ImportError:
    h5py = None
try:
    import meshio
except ImportError:
    meshio = None

BLOCK_SIZES = {"one block": 200 * 2**20, "blocks of 10 MB": 10 * 2**20}
STEPS = 3
RESULTS = {"Displacement": 3, "Stress": 6}  # name and number of components
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


def bulk_arrays(edge: int) -> dict[str, np.ndarray]:
    arrays = {"Coordinates": field(edge, 3, 9), "Connectivity": hexahedra(edge)}
    for step in range(1, STEPS + 1):
        for name, width in RESULTS.items():
            arrays[f"{name} {step}"] = field(edge, width, step)
    return arrays


def write_bulk(path: Path, arrays: dict[str, np.ndarray], block_size: int) -> None:
    os.environ["MEKWRITER_DEFAULT_BLOCK_SIZE"] = str(block_size)
    with mekapi2.Model(path, overwrite=True) as model:
        model.add_node("RootGroup", "bulk")
        shape = model.add_node("Shape", "HE8")
        model.add_array("Coordinates", arrays["Coordinates"], shape)
        model.add_array("Connectivity2", arrays["Connectivity"], shape)
        for step in range(1, STEPS + 1):
            for name, width in RESULTS.items():
                values = arrays[f"{name} {step}"]
                model.add_array(f"ResultA{width}", values, shape, name=name, steps=f"t={step}")


def write_hdf5(path: Path, arrays: dict[str, np.ndarray]) -> None:
    with h5py.File(path, "w", libver="latest") as file:
        for name, values in arrays.items():
            row = values.nbytes // len(values)
            chunk = (min(len(values), 2**20 // row), *values.shape[1:])
            file.create_dataset(
                name, data=values, chunks=chunk, shuffle=True, compression="gzip", compression_opts=6
            )


def read_hdf5(path: Path) -> object:
    with h5py.File(path) as file:
        return {name: dataset[...] for name, dataset in file.items()}


def write_vtu(folder: Path, arrays: dict[str, np.ndarray]) -> list[Path]:
    cells = [("hexahedron", arrays["Connectivity"].reshape(-1, 8))]
    paths = []
    for step in range(1, STEPS + 1):
        data = {name: arrays[f"{name} {step}"] for name in RESULTS}
        paths.append(folder / f"bulk{step}.vtu")
        meshio.write(paths[-1], meshio.Mesh(arrays["Coordinates"], cells, point_data=data))
    return paths


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


def measure_bulk(blocking: str, folder: Path, edge: int, runs: int) -> str:
    """Print a table of times; return the row of the summary."""
    arrays = bulk_arrays(edge)
    path = folder / "bulk.mek"
    write_bulk(path, arrays, BLOCK_SIZES[blocking])
    blocks = compressed_blocks(path)
    candidates: dict[str, tuple[int, Callable[[], object]]] = {
        "zlib.decompress": (path.stat().st_size, lambda: decompress(blocks, 1)),
        "zlib.decompress, 2 threads": (path.stat().st_size, lambda: decompress(blocks, 2)),
        "read_all()": (path.stat().st_size, lambda: read_all(path, 1)),
        "read_all(threads=2)": (path.stat().st_size, lambda: read_all(path, 2)),
        "each array by its variable": (path.stat().st_size, lambda: read_each(path)),
        "one array of 12 MB": (path.stat().st_size, lambda: read_one(path)),
    }
    if h5py is not None:
        other = folder / "bulk.h5"
        write_hdf5(other, arrays)
        candidates["h5py, all datasets"] = (other.stat().st_size, lambda: read_hdf5(other))
    if meshio is not None:
        files = write_vtu(folder, arrays)
        size = sum(each.stat().st_size for each in files)
        candidates["meshio, all VTU files"] = (size, lambda: [meshio.read(each) for each in files])
    del arrays
    times: dict[str, list[Time]] = {name: [] for name in candidates}
    for number in range(runs):
        print(f"read: round {number + 1} of {runs}", file=sys.stderr)
        for name, (_, action) in candidates.items():
            times[name].append(time_of(action))
    size = sum(RESULTS.values()) * 4 * edge**3 * STEPS / 1e6
    print(f"### {size:.0f} MB of results and their mesh, {blocking} ({runs} runs)\n")
    print("| | file, MB | seconds, median | seconds, shortest | CPU seconds, shortest |")
    print("|---|---:|---:|---:|---:|")
    floors = [reduced(times["zlib.decompress"], of) for of in REDUCTIONS]
    for name, measured in times.items():
        columns = [reduced(measured, of) for of in REDUCTIONS]
        cells = [f"{each:.3f} ({each / floor:.2f} x)" for each, floor in zip(columns, floors)]
        print(f"| {name} | {candidates[name][0] / 1e6:.0f} | {' | '.join(cells)} |")
    print()
    ratio = reduced(times["read_all()"], "shortest") / floors[1]
    title = f"reading all arrays in Python, {blocking}, shortest"
    return f"| {title} | {ratio:.2f} x zlib.decompress | at most 1.25 |"


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
    parser.add_argument("--figures", help="file to which the rows of the summary are appended")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        figures = [
            measure_bulk(blocking, Path(folder), options.nodes, options.runs)
            for blocking in BLOCK_SIZES
        ]
        many = Path(folder, "many.mek")
        write_many(many)
        times = [time_of(lambda: mekapi2.open(many).close()).wall for _ in range(options.runs)]
    opening = statistics.median(times)
    print(f"Opening a model of {VARIABLES} variables takes {opening:.3f} s.")
    figures.append(f"| opening a model of {VARIABLES} variables | {opening:.2f} s | at most 1 |")
    if options.figures:
        with open(options.figures, "a") as stream:
            stream.writelines(line + "\n" for line in figures)


if __name__ == "__main__":
    sys.exit(main())
