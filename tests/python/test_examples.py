"""The examples run, and write what they say."""

import subprocess
import sys
from pathlib import Path

import container
import pytest

EXAMPLES = Path(__file__).parents[2] / "examples" / "python"
EXPECTED = {
    "first_model": {"plate/surface/surface": 4},
    "steps_and_links": {"bridge/plate/plate": 10, "bridge/edge/edge": 8},
    "assembly": {"car/body/cabin/cabin": 3, "car/body/bonnet/bonnet": 3, "car/wheels/left/left": 3},
    "failures": {"root/shape/shape": 1},
}


@pytest.mark.parametrize("example", sorted(path.stem for path in EXAMPLES.glob("*.py")))
def test_example(tmp_path, read, example):
    path = tmp_path / "out.mek"
    command = [sys.executable, EXAMPLES / f"{example}.py", path]
    run = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path)
    assert (run.returncode, run.stderr) == (0, "") and run.stdout.endswith("out.mek written\n")
    nodes = container.by_path(read(path)).items()
    found = {path: len(node.variables) for path, node in nodes if node.type == "Geometry"}
    assert found == EXPECTED[example]
