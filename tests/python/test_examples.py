"""The examples run, and write what they say."""

import re
import subprocess
import sys
from pathlib import Path

import container
import pytest

EXAMPLES = Path(__file__).parents[2] / "examples" / "python"
EXPECTED = {
    "first_model": {"bar/HE8/HE8": 6},
    "steps_and_links": {"bridge/deck/deck": 14, "bridge/edge/edge": 12},
    "assembly_paths": {
        "table/board/plate/plate": 3,
        "table/legs/back/tube/tube": 3,
        "table/legs/front/tube/tube": 3,
    },
    "handling_failures": {"root/shape/shape": 1},
}
FAILURES = (
    '2 "Unable to open file .*takes the shape.*14 "Key not found".*no exact 32-bit value.*'
    'the end: went well.*17 "File not open.".*5 "File exists."'
)


@pytest.mark.parametrize("example", sorted(path.stem for path in EXAMPLES.glob("*.py")))
def test_example(tmp_path, read, example):
    path = tmp_path / "out.mek"
    command = [sys.executable, EXAMPLES / f"{example}.py", path]
    run = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path)
    assert (run.returncode, run.stderr) == (0, "")
    assert re.search(FAILURES if example == "handling_failures" else "^$", run.stdout, re.DOTALL)
    nodes = container.by_path(read(path)).items()
    found = {path: len(node.variables) for path, node in nodes if node.type == "Geometry"}
    assert found == EXPECTED[example]
