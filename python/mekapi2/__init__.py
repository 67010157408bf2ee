"""Write simulation models into one compact file, with NumPy.

>>> with mekapi2.Model.create("plate.mek", overwrite=True) as model:
...     model.add_node("RootGroup", "plate")
...     mesh = model.add_node("Shape", "surface")
...     model.add_array("Coordinates", coordinates, mesh)
...     model.add_array("ResultA1", temperature, mesh, name="Temperature", steps="t=0.5")

`Model` writes; `NodeType`, `PropertyType` and `DatasetType` say what; `Step` names a moment of a
result; every failure is an `Error`. ``python -m mekapi2.convert`` turns mesh files of any format
that meshio reads into files of this one.
"""

from . import errors
from ._core import version as __version__
from .enumerations import DatasetType, NodeType, PropertyType
from .errors import *
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
