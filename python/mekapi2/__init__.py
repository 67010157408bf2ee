"""Writes simulation models from NumPy arrays to a compact file.

>>> with mekapi2.Model("plate.mek", overwrite=True) as model:
...     model.add_node("RootGroup", "plate")
...     mesh = model.add_node("Shape", "surface")
...     model.add_array("Coordinates", coordinates, mesh)
...     model.add_array("ResultA1", temperature, mesh, name="Temperature", steps="t=0.5")

`Model` writes one file. Its enumerations are `NodeType`, `PropertyType` and `DatasetType`; a `Step`
is a time step, load case or mode. The library raises subclasses of `Error`.
``python3 -m mekapi2.convert`` converts mesh files of all formats that meshio reads.
"""

from . import errors
from ._core import version as __version__
from .enumerations import DatasetType, NodeType, PropertyType
from .errors import *
from .errors import OverflowError as OverflowError  # not in __all__: it hides a builtin
from .model import Model, Step

__all__ = [
    "DatasetType",
    "Model",
    "NodeType",
    "PropertyType",
    "Step",
    "__version__",
    *errors.__all__,
]
