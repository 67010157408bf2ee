"""Builds the Python package for pip, with its compiled module; pyproject.toml describes it."""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).parent.resolve()
MODULE = "mekapi2._core"


def version() -> str:
    header = (ROOT / "include" / "tyr" / "version.hpp").read_text(encoding="utf-8")
    return re.search(r'VERSION_STRING "([0-9.]+)"', header)[1]


class BuildWithCMake(build_ext):
    """Builds the module with the library linked into it, so that the wheel needs nothing else."""

    def build_extension(self, extension: Extension) -> None:
        folder = Path(self.build_temp).resolve()
        options = {
            "CMAKE_BUILD_TYPE": "Release",
            "BUILD_SHARED_LIBS": "OFF",
            "MEKAPI2_BUILD_PYTHON": "ON",
            "Python3_EXECUTABLE": sys.executable,
            **dict.fromkeys(
                [f"MEKAPI2_{name}" for name in ("BUILD_C", "BUILD_TOOLS", "BUILD_TESTS",
                                                "BUILD_EXAMPLES", "INSTALL")], "OFF"),
        }
        definitions = [f"-D{key}={value}" for key, value in options.items()]
        subprocess.run(["cmake", "-S", ROOT, "-B", folder, *definitions], check=True)
        jobs = str(os.cpu_count() or 1)
        build = ["cmake", "--build", folder, "--target", "mekapi2_core", "--parallel", jobs]
        subprocess.run(build, check=True)
        output = Path(self.get_ext_fullpath(extension.name))
        output.parent.mkdir(parents=True, exist_ok=True)
        (module,) = (folder / "python" / "mekapi2").glob("_core*")
        self.copy_file(str(module), str(output))


setup(
    version=version(),
    ext_modules=[Extension(MODULE, sources=[])],
    cmdclass={"build_ext": BuildWithCMake},
)
