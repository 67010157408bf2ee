"""Registers ``.mek`` as a format of meshio, at once or when meshio is imported.

meshio has no entry points for formats, and importing it takes longer than importing NumPy. So a
program that does not use meshio does not import it.
"""

from __future__ import annotations

import importlib.util
import os
import sys
from collections.abc import Sequence
from importlib.abc import MetaPathFinder
from importlib.machinery import ModuleSpec
from pathlib import Path
from types import ModuleType
from typing import TYPE_CHECKING, Any, Optional, Union

if TYPE_CHECKING:
    import meshio

_NAME = "meshio"


def register() -> None:
    """Register the format now if meshio is imported, otherwise when it will be."""
    module = sys.modules.get(_NAME)
    if module is not None:
        _register_in(module)
    elif not any(isinstance(finder, _Finder) for finder in sys.meta_path):
        sys.meta_path.insert(0, _Finder())


class _Finder(MetaPathFinder):
    """Finds meshio as the other finders do, and lets its loader register the format."""

    def find_spec(
        self,
        name: str,
        path: Optional[Sequence[str]],
        target: Optional[ModuleType] = None,
    ) -> Optional[ModuleSpec]:
        if name != _NAME:
            return None
        sys.meta_path.remove(self)
        spec = importlib.util.find_spec(name)
        if spec is None or spec.loader is None:
            sys.meta_path.insert(0, self)
            return spec
        execute = spec.loader.exec_module

        def execute_and_register(module: ModuleType) -> None:
            execute(module)
            _register_in(module)

        setattr(spec.loader, "exec_module", execute_and_register)
        return spec


def _register_in(module: Any) -> None:
    module.register_format("mek", [".mek"], _read, {"mek": _write})


def _read(path: Union[str, os.PathLike[str]]) -> meshio.Mesh:
    """Return the mesh of the last step, with a warning if there are several."""
    from meshio._common import warn

    from .reader import open as open_file

    with open_file(path) as file:
        steps = file.steps
        if len(steps) > 1:
            warn(f"Reading the last of {len(steps)} steps; mekapi2.open reads all.")
        return file.to_meshio(steps[-1] if steps else None)


def _write(path: Union[str, os.PathLike[str]], mesh: meshio.Mesh) -> None:
    """Write a mesh as `mekapi2.convert` does; an existing file is replaced."""
    from .convert import write_mesh

    write_mesh(Path(path), mesh)
