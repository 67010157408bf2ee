"""Writes simulation models from NumPy arrays to a compact file, and reads such files.

>>> with mekapi2.Model("plate.mek", overwrite=True) as model:
...     model.add_node("RootGroup", "plate")
...     mesh = model.add_node("Shape", "surface")
...     model.add_array("Coordinates", coordinates, mesh)
...     model.add_array("ResultA1", temperature, mesh, name="Temperature", steps="t=0.5")
>>> with mekapi2.open("plate.mek") as file:
...     file["/plate/surface"].variables["Temperature"].array("t=0.5")

`Model` writes one file. Its enumerations are `NodeType`, `PropertyType` and `DatasetType`; a `Step`
is a time step, load step or mode. The library raises subclasses of `Error`. `open` reads a file; a
damaged file raises `FormatError`. ``python3 -m mekapi2.convert`` converts mesh files of all formats
that meshio reads, and back.

The compiled module is imported when one of the names for writing is used, so that the reader works
without it.
"""

from __future__ import annotations

import importlib
from typing import TYPE_CHECKING, Any

from . import _meshiohook, _pyvistahook, errors
from .enumerations import DatasetType, NodeType, PropertyType
from .errors import *
from .errors import OverflowError as OverflowError  # not in __all__: it hides a builtin
from .reader import CircularLinkError, File, FormatError, Node, UnfinishedError, Variable
from .reader import open as open  # not in __all__: it hides a builtin

if TYPE_CHECKING:
    from ._core import version as __version__
    from .model import Model, Step

__all__ = [
    "CircularLinkError",
    "DatasetType",
    "File",
    "FormatError",
    "Model",
    "Node",
    "NodeType",
    "PropertyType",
    "Step",
    "UnfinishedError",
    "Variable",
    "__version__",
    *errors.__all__,
]

_meshiohook.register()
_pyvistahook.register()

_OF_WRITER = {
    "Model": (".model", "Model"),
    "Step": (".model", "Step"),
    "__version__": ("._core", "version"),
}


def __getattr__(name: str) -> Any:
    """Import a name for writing when it is used."""
    if name not in _OF_WRITER:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    module, attribute = _OF_WRITER[name]
    value = getattr(importlib.import_module(module, __name__), attribute)
    globals()[name] = value
    return value


def __dir__() -> list[str]:
    return sorted({*globals(), *_OF_WRITER})
