"""Converts mesh files of any format that meshio reads.

``python -m mekapi2.convert INPUT [OUTPUT.mek]`` on the command line, `convert` in a program.
"""

from ._errors import ConversionError
from ._job import Summary, convert

__all__ = ["ConversionError", "Summary", "convert"]
