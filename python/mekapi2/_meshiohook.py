"""Registers ``.mek`` as a format of meshio, at once or when meshio is imported."""

from __future__ import annotations

import os
from pathlib import Path
from typing import TYPE_CHECKING, Any, Union

from ._importhook import when_imported

if TYPE_CHECKING:
    import meshio


def register() -> None:
    """Register the format now if meshio is imported, otherwise when it will be."""
    when_imported("meshio", _register_in)


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
