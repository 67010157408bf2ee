"""Annotations are consistent, and the stub of the extension module names what is there."""

import subprocess
import sys
from pathlib import Path

import mekapi2

CONFIGURATION = Path(__file__).parents[2] / "python" / "mypy.ini"
# The metaclass of the extension module's classes has no place in a stub.
ALLOWED = "mekapi2._core.Model\n"


def run(tmp_path, *command):
    command = [sys.executable, "-m", *command]
    ran = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path)
    assert ran.returncode == 0, ran.stdout + ran.stderr


def test_annotations_and_stub(tmp_path, monkeypatch):
    monkeypatch.setenv("MYPYPATH", str(Path(mekapi2.__file__).parents[1]))
    (tmp_path / "allowed").write_text(ALLOWED)
    run(tmp_path, "mypy", "--config-file", str(CONFIGURATION), "-p", "mekapi2")
    run(tmp_path, "mypy.stubtest", "--allowlist", str(tmp_path / "allowed"), "mekapi2._core")
