"""Converts mesh files with mekapi2.convert and confirms that `mekinfo --vtu` gives them back.

Usage: check_converted.py vtu DECK FOLDER CCX FRD2MEK MEKINFO    the files of a solved deck
       check_converted.py abaqus DECK FOLDER MEKINFO             the mesh of a deck itself
Exits 77 where meshio is missing.
"""
import gzip
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

import check_solved
import meshio
import numpy as np

# VTK's wedges are seen from the other side; meshio turns the linear ones itself.
TURNED_WEDGE = [0, 2, 1, 3, 5, 4, 8, 7, 6, 11, 10, 9, 12, 14, 13]


def given_back(path, mekinfo):
    """The parts of a mesh file after its way through a container."""
    subprocess.run([sys.executable, "-m", "mekapi2.convert", path, path.with_suffix(".mek")],
                   check=True, stdout=subprocess.DEVNULL)
    folder = path.with_suffix(".back")
    subprocess.run([mekinfo, "--vtu", folder, path.with_suffix(".mek")],
                   check=True, stdout=subprocess.DEVNULL)
    collection = folder / f"{path.stem}.pvd"
    return [meshio.read(folder / entry.get("file"))
            for entry in ElementTree.parse(collection).getroot().iter("DataSet")]


def same(read, given):
    return np.array_equal(np.asarray(read, np.float32).view(np.uint32),
                          np.asarray(given, np.float32).view(np.uint32))


def check(mesh, parts):
    """Every value of `mesh` is in the parts, one for each cell block and one for unused nodes."""
    count = len(mesh.points)
    ids = np.ravel(mesh.point_data.get("Node Ids", np.arange(1, count + 1)))
    row_of = dict(zip(ids, range(count)))
    rows_of = [[row_of[i] for i in part.point_data["Node Ids"]] for part in parts]
    assert sorted({row for rows in rows_of for row in rows}) == list(range(count))
    data = dict(mesh.point_data)
    for name, members in mesh.point_sets.items():
        data[f"Set {name}"] = np.isin(np.arange(count), members)
    for part, rows in zip(parts, rows_of):
        assert same(part.points, mesh.points[rows])
        for name, values in data.items():
            assert same(part.point_data[name], values[rows]), name
    assert len(mesh.cells) <= len(parts) <= len(mesh.cells) + 1
    for index, (block, part, rows) in enumerate(zip(mesh.cells, parts, rows_of)):
        (cells,) = part.cells
        assert cells.type == block.type
        assert np.array_equal(np.asarray(rows)[cells.data], block.data), block.type
        for name, blocks in mesh.cell_data.items():
            assert same(part.cell_data[name][0], blocks[index]), name


def check_vtu(folder, deck, decks, ccx, frd2mek, mekinfo):
    check_solved.solve(deck, decks, ccx, frd2mek, mekinfo, folder)
    files = list((folder / "out").glob("*.vtu"))
    assert files
    for path in files:
        check(meshio.read(path), given_back(path, mekinfo))


def check_abaqus(folder, deck, decks, mekinfo):
    path = pathlib.Path(decks) / f"{deck}.inp"
    text = path.read_bytes() if path.exists() else gzip.open(f"{path}.gz").read()
    (folder / "deck.inp").write_bytes(text)
    mesh = meshio.read(folder / "deck.inp")
    for block in mesh.cells:
        if block.type == "wedge15":
            block.data = block.data[:, TURNED_WEDGE]
    check(mesh, given_back(folder / "deck.inp", mekinfo))


def main(source, *arguments):
    with tempfile.TemporaryDirectory() as folder:
        {"vtu": check_vtu, "abaqus": check_abaqus}[source](pathlib.Path(folder), *arguments)


main(*sys.argv[1:])
