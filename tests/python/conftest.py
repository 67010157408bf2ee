import os
import subprocess

import container
import pytest


@pytest.fixture
def read():
    """Has mekinfo check a file, then reads it."""

    def read_checked(path):
        checked = subprocess.run([os.environ["MEKINFO"], "--check", path], capture_output=True)
        assert checked.returncode == 0, checked.stderr
        return container.read(path)

    return read_checked
