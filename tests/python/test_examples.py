"""The examples run and write what they say, from the build tree and from an installed package."""

import os
import re
import subprocess
import sys
from pathlib import Path

import container
import pytest

EXAMPLES = Path(__file__).parents[2] / "examples" / "python"
VARIABLES = {"first_model": 6, "steps_and_links": 26, "assembly_paths": 9, "handling_failures": 1}
FAILURES = (
    '2 "Unable to open file .*takes the shape.*14 "Key not found".*no exact 32-bit value.*'
    'the end: went well.*17 "File not open.".*5 "File exists."'
)


@pytest.mark.parametrize("example", sorted(path.stem for path in EXAMPLES.glob("*.py")))
def test_example(tmp_path, example):
    command = [sys.executable, EXAMPLES / f"{example}.py", tmp_path / "out.mek"]
    run = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path)
    assert (run.returncode, run.stderr) == (0, "")
    assert re.search(FAILURES if example == "handling_failures" else "^$", run.stdout, re.DOTALL)
    nodes = container.read(tmp_path / "out.mek").values()
    assert sum(len(node.variables) for node in nodes) == VARIABLES[example]


def test_an_installed_prefix_can_be_moved(tmp_path):
    prefix, moved, written = (tmp_path / name for name in ("prefix", "moved", "out.mek"))
    install = ["cmake", "--install", os.environ["BUILD_DIR"], "--prefix", prefix]
    subprocess.run(install, check=True, capture_output=True)
    prefix.rename(moved)
    packages = moved / "lib" / "python3" / "dist-packages"
    env = {**os.environ, "PYTHONPATH": str(packages)}
    subprocess.run([sys.executable, EXAMPLES / "first_model.py", written], check=True, env=env)
    assert container.read(written)[1].name == "bar"
    for name in ("py.typed", "_core.pyi", "convert/__main__.py"):
        assert (packages / "mekapi2" / name).is_file()
