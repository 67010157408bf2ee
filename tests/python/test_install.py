"""The installed package works from wherever the prefix is moved."""

import os
import subprocess
import sys
from pathlib import Path

EXAMPLE = Path(__file__).parents[2] / "examples" / "python" / "first_model.py"


def test_an_installed_prefix_can_be_moved(tmp_path, read):
    prefix, moved = tmp_path / "prefix", tmp_path / "moved"
    install = ["cmake", "--install", os.environ["BUILD_DIR"], "--prefix", prefix]
    subprocess.run(install, check=True, capture_output=True)
    prefix.rename(moved)
    packages = moved / "lib" / "python3" / "dist-packages"
    env = {**os.environ, "PYTHONPATH": str(packages)}

    subprocess.run([sys.executable, EXAMPLE, tmp_path / "x.mek"], check=True, env=env)

    assert read(tmp_path / "x.mek")[1].name == "bar"
    for name in ("py.typed", "_core.pyi", "convert/__main__.py"):
        assert (packages / "mekapi2" / name).is_file()
