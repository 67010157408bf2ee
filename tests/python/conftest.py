"""Fixtures of all tests of the package."""

import pytest


@pytest.fixture
def path(tmp_path):
    return tmp_path / "model.mek"
