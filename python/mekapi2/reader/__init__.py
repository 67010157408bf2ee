"""Reads model files with NumPy and zlib only.

>>> from mekapi2 import reader
>>> with reader.open("plate.mek") as file:
...     for shape in file.shapes:
...         print(shape.path, list(shape.variables))

This package needs neither the compiled module of `mekapi2` nor any other part of it, so that it can
also be used in programs with their own Python, such as ParaView.
"""

from .errors import CircularLinkError, FormatError, UnfinishedError
from .file import File, Node, Owner, Variable, open
from ._records import Info, Material

__all__ = [
    "CircularLinkError",
    "File",
    "FormatError",
    "Info",
    "Material",
    "Node",
    "Owner",
    "UnfinishedError",
    "Variable",
    "open",
]
