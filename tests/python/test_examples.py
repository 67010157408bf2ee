"""The examples write the same files as those in C++, and run from an installed prefix."""

import os
import re
import subprocess
import sys
from pathlib import Path

import mekfile
import pytest

EXAMPLES = Path(__file__).parents[2] / "examples" / "python"
BUILD = Path(os.environ["BUILD_DIR"])
ERRORS = (
    'No such file or directory: .*takes an array of shape.*code 14, no node has the id 1000.*'
    'exact in 32 bits.*close: no error.*code 17, the model is closed.*File exists: '
)


def rounded(path):
    """The tree, with 0 for tiny numbers, which depend on the precision of the sine."""
    return re.sub(r"-?[\d.]+e-\d+", "0", mekfile.tree(path))


@pytest.mark.parametrize("example", sorted(path.stem for path in EXAMPLES.glob("*.py")))
def test_example(tmp_path, example):
    command = [sys.executable, EXAMPLES / f"{example}.py", tmp_path / "python.mek"]
    run = subprocess.run(command, capture_output=True, text=True)
    assert (run.returncode, run.stderr) == (0, "")
    assert re.search(ERRORS if example == "handling_failures" else "^$", run.stdout, re.DOTALL)
    subprocess.run([BUILD / "bin" / example, tmp_path / "c.mek"], check=True, capture_output=True)
    assert rounded(tmp_path / "python.mek") == rounded(tmp_path / "c.mek")


def test_snippets_of_the_documentation(tmp_path):
    text = (EXAMPLES.parents[1] / "docs" / "python.md").read_text(encoding="utf-8")
    snippets = re.findall(r"^```python\n(.*?)^```", text, re.DOTALL | re.MULTILINE)
    command = [sys.executable, "-W", "error", "-c", "\n".join(snippets)]
    run = subprocess.run(command, cwd=tmp_path, capture_output=True, text=True)
    printed = "<mekapi2 variable 'Temperature', type 12: float32 (4,), 1 step: 't=0.5'>\n"
    assert (run.returncode, run.stdout, run.stderr) == (0, printed, "") and len(snippets) == 10
    assert printed.strip() in text
    assert '"Strain" type 12: 2 x 1 float, 0.1 to 0.5' in mekfile.tree(tmp_path / "strain.mek")
    first = [sys.executable, "-c", snippets[0]]
    subprocess.run(first, cwd=tmp_path, check=True)
    (mesh,) = mekfile.exported(tmp_path / "plate.mek")
    assert mesh.cells_dict["triangle"].tolist() == [[0, 1, 2], [0, 2, 3]]


def test_recipes(tmp_path):
    script = EXAMPLES.parents[1] / "scripts" / "recipes.py"
    command = [sys.executable, script, BUILD / "bin", tmp_path]
    run = subprocess.run(command, capture_output=True, text=True)
    assert run.returncode == 0, run.stdout + run.stderr
    assert run.stdout.count("== ") == 17 and "Step 6 t=2: 93.41 at node 20010" in run.stdout
    assert "0 Heavy Data it cannot be decompressed" in run.stdout
    text = (EXAMPLES.parents[1] / "docs" / "recipes.md").read_text(encoding="utf-8")
    for figure in re.findall(r"\(images/(.*?)\)", text):
        assert (tmp_path / figure).stat().st_size > 5000
    table = (tmp_path / "surface.csv").read_text().splitlines()
    assert len(table) == 1 + 48 and table[0] == "node,xx,yy,zz,xy,yz,xz"
