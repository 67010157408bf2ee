"""Builds the reader alone, without what needs the compiled module."""

import re
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py

OF_WRITER = ("mekapi2.model", "mekapi2._plain")


def version() -> str:
    header = Path(__file__).resolve().parents[2] / "include" / "tyr" / "version.hpp"
    return re.search(r'VERSION_STRING "([0-9.]+)"', header.read_text(encoding="utf-8"))[1]


class BuildReader(build_py):
    def find_package_modules(self, package: str, package_dir: str) -> list:
        modules = super().find_package_modules(package, package_dir)
        return [each for each in modules if ".".join(each[:2]) not in OF_WRITER]


setup(version=version(), cmdclass={"build_py": BuildReader})
