"""Fixtures of all tests of the package."""

import oracle
import pytest


@pytest.fixture
def path(tmp_path):
    return tmp_path / "model.mek"


@pytest.fixture(scope="session")
def ask():
    return oracle.Oracle()
