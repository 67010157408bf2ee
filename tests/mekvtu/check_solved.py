"""Solves a deck, converts the result to a model file, exports that for VTK, and compares the export
with the result file, which is parsed here by its fixed columns (long format).

Usage: check_solved.py DECK FOLDER CCX FRD2MEK; exits 77 where meshio is missing.
"""
import gzip
import importlib.util
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from types import SimpleNamespace

if importlib.util.find_spec("meshio") is None:
    print("skipped: no meshio")
    sys.exit(77)

import mekfile
import numpy as np

# By the type number of an element: its name, its cell, and for each of its nodes the index in the
# cell, if the order differs. meshio reorders linear wedges itself.
TYPES = dict(enumerate([
    ("HE8", "hexahedron"), ("PE6", "wedge"), ("TE4", "tetra"),
    ("HE20", "hexahedron20", [*range(12), *range(16, 20), *range(12, 16)]),
    ("PE15", "wedge15", [0, 2, 1, 3, 5, 4, 8, 7, 6, 12, 14, 13, 11, 10, 9]),
    ("TE10", "tetra10"), ("TR3", "triangle"), ("TR6", "triangle6"),
    ("QU4", "quad"), ("QU8", "quad8"), ("BE2", "line"), ("BE3", "line3"),
], 1))
VECTOR, TENSOR = 2, 4
BINARY = ("oneel", "section", "sc123", "fricloop", "truss")  # decks that are solved twice


class ResultFile:
    def __init__(self, path):
        self.nodes, self.elements, self.results, self.materials = {}, {}, [], {}
        section, mode, last = "", 0, None
        for line in path.read_text().splitlines():
            if line[:6] in ("    2C", "    3C", "  100C"):
                section = line[:6].strip()
                if section == "100C":
                    modal = line[63:68] == "MODAL"
                    step = ("Mode", int(mode)) if modal else ("Step", int(line[58:63]))
                    self.results.append(SimpleNamespace(
                        step=step, value=float(line[12:24]), components=[], kinds=set(), rows={}))
            elif line.startswith("    1UMAT"):
                self.materials[int(line[9:14])] = line[14:].strip()
            elif line.startswith("    1PMODE"):
                mode = line[10:]
            elif line[:3] == " -4":
                self.results[-1].name = line[5:13].strip()
            elif line[:3] == " -5" and line[33:38] != "    1":  # 1: derived
                self.results[-1].components.append(line[5:13].strip())
                self.results[-1].kinds.add(int(line[18:23]))
            elif line[:3] == " -1" and section == "3C":
                last = []
                self.elements[int(line[3:13])] = (int(line[13:18]), int(line[23:28]), last)
            elif line[:3] == " -2" and section == "3C":
                last.extend(int(line[i:i + 10]) for i in range(3, len(line.rstrip()), 10))
            elif line[:3] in (" -1", " -2"):
                if line[:3] == " -1":
                    rows = self.nodes if section == "2C" else self.results[-1].rows
                    last = rows[int(line[3:13])] = []
                last.extend(number(line[i:i + 12]) for i in range(13, len(line.rstrip()), 12))


def number(text):
    """A float, also of the form 1.00000-100."""
    return np.float32(re.sub(r"(\d)([+-]\d)", r"\1E\2", text.strip()))


def arrays_of(result):
    """Name and columns of each array that is written for a result."""
    width = len(result.components)
    whole = (width == 3 and (result.name == "DISP" or result.kinds == {VECTOR})
             or width == 6 and result.kinds == {TENSOR} or width == 1)
    if whole:
        return [(result.name, slice(0, width))]
    return [(f"{result.name}.{name}", slice(i, i + 1)) for i, name in enumerate(result.components)]


def check_elements(file, parts):
    """Every element occurs once, in the expected shape and cell, with its nodes in order."""
    found = {}
    for mesh in parts:
        ids = mesh.point_data["Node Ids"]
        assert np.array_equal(mesh.points, np.float32([file.nodes[i] for i in ids]))
        for block, elements in zip(mesh.cells, mesh.cell_data.get("Element IDs", [])):
            for element, nodes in zip(elements, ids[block.data]):
                found[element] = (mesh.name, block.type, nodes)
    assert found.keys() == file.elements.keys()
    for element, (number, material, nodes) in file.elements.items():
        shape, cell, *order = TYPES[number]
        name = f"job/{file.materials.get(material, f'Material {material}')}/{shape}"
        *where, placed = found[element]
        assert where == [name, cell], (where, name, cell)
        assert list(placed[order[0]] if order else placed) == nodes, (element, cell)


def check_result(result, parts):
    missing = [np.float32(np.nan)] * len(result.components)
    for mesh in parts:
        ids = mesh.point_data["Node Ids"]
        rows = np.float32([result.rows.get(i, missing) for i in ids])
        for name, columns in arrays_of(result):
            values = mesh.point_data[name].reshape(len(ids), -1)
            np.testing.assert_array_equal(values, rows[:, columns], err_msg=name)


def steps_of(meshes):
    """The mesh parts of each step, by its kind, number and value."""
    steps = {}
    for mesh in meshes:
        kind, step, value = mesh.step.split()
        steps.setdefault((kind, int(step), float(value.split("=")[1])), []).append(mesh)
    return steps


def asking_for_results(deck, folder):
    """The text of a deck, with a request for results in each step if it has none."""
    path = pathlib.Path(folder) / f"{deck}.inp"
    text = path.read_text() if path.exists() else gzip.open(f"{path}.gz", "rt").read()
    if re.search(r"(?im)^\*(NODE|EL) *FILE", text):
        return text
    node, element = ("NT", "HFL") if "*HEAT TRANSFER" in text.upper() else ("U", "S")
    request = f"*NODE FILE\n{node}\n*EL FILE\n{element}\n"
    return re.sub(r"(?im)^(?=\*END STEP)", request, text)


def check_binary(solve, deck, of_text):
    """Binary results have the same content as their text, but for its six digits."""
    deck = re.sub(r"(?im)^\*(NODE|EL|CONTACT) *FILE", r"*\1 OUTPUT", deck)
    path = solve("binary", deck.replace("EL OUTPUT", "ELEMENT OUTPUT"))
    assert b"\0" in path.with_suffix(".frd").read_bytes()
    command = [os.environ["MEKDIFF"], "--rel", "5.2e-6", of_text, path]
    run = subprocess.run(command, stdout=subprocess.PIPE, text=True)
    *found, _ = run.stdout.splitlines() or [""]
    assert run.returncode < 2
    assert all(line.startswith('/job: attribute "Time": ') for line in found), run.stdout


def main(deck, decks, ccx, frd2mek):
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)

        def solve(form, text):
            (folder / form).mkdir()
            (folder / form / "job.inp").write_text(text)
            for command in ([ccx, "-i", "job"], [frd2mek, "job.frd"]):
                subprocess.run(command, cwd=folder / form, check=True, stdout=subprocess.DEVNULL,
                               env={**os.environ, "OMP_NUM_THREADS": "1"})
            return folder / form / "job.mek"

        text = asking_for_results(deck, decks)
        path = solve("text", text)
        file = ResultFile(path.with_suffix(".frd"))
        mekfile.assert_clean(path)
        parts = mekfile.exported(path)
        steps = steps_of(parts)
        if deck in BINARY:
            check_binary(solve, text, path)
    for parts in steps.values():
        check_elements(file, parts)
    for result in file.results:
        check_result(result, steps[(*result.step, result.value)])
    # all nodes are exported, and no other results than those of the solver
    (first, *_) = steps.values()
    assert {i for mesh in first for i in mesh.point_data["Node Ids"]} == set(file.nodes)
    written = {name for result in file.results for name, _ in arrays_of(result)}
    read = {name for parts in steps.values() for mesh in parts for name in mesh.point_data}
    assert read == written | {"Node Ids", "vtkOriginalPointIds"}, read ^ written
    assert len(file.results) > 0 and {r.step for r in file.results} == {s[:2] for s in steps}


main(*sys.argv[1:])
