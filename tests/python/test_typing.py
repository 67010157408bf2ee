"""The annotations are consistent, and the stub matches the extension module."""

import subprocess
import sys
from pathlib import Path

import mekapi2

CONFIGURATION = Path(__file__).parents[2] / "python" / "mypy.ini"


def test_annotations_and_stub(tmp_path, monkeypatch):
    monkeypatch.setenv("MYPYPATH", str(Path(mekapi2.__file__).parents[1]))
    allowed = tmp_path / "allowed"
    allowed.write_text("mekapi2._core.Model\n")  # its metaclass cannot be described in a stub
    for command in (
        ["mypy", "--config-file", CONFIGURATION, "-p", "mekapi2"],
        ["mypy.stubtest", "--allowlist", allowed, "mekapi2._core"],
    ):
        command = [sys.executable, "-m", *command]
        run = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path)
        assert run.returncode == 0, run.stdout + run.stderr
