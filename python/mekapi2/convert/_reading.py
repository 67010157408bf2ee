"""Opens an input, whatever it is."""

from __future__ import annotations

from pathlib import Path
from typing import Optional

import meshio

from ._collections import collection_formats, read_collection
from ._errors import ConversionError
from ._meshfile import read_mesh
from ._source import Part, Source, still
from ._timeseries import exodus_part, is_temporal, med_part, xdmf_part

_xdmf_suffixes = (".xdmf", ".xmf")


def read(path: Path, file_format: Optional[str] = None) -> Source:
    """Opens a mesh file, a time series or a collection of files.

    :param file_format: meshio's name of the format; by default the file's suffix tells
    """
    if not path.is_file():
        raise ConversionError("no such file")
    suffix = path.suffix.lower()
    if file_format is None and suffix in collection_formats:
        return read_collection(path, suffix)
    byte_count = path.stat().st_size
    may_be_xdmf = suffix in _xdmf_suffixes if file_format is None else file_format == "xdmf"
    if may_be_xdmf and is_temporal(path):
        return Source(path, "xdmf", [xdmf_part(path)], byte_count)
    warnings: list[str] = []
    mesh, file_format = read_mesh(path, file_format, warnings)
    part = _part_of(path, mesh, file_format)
    if part.frame_count > 1:
        warnings = [text for text in warnings if "Skipping some time data" not in text]
    return Source(path, file_format, [part], byte_count, warnings)


def _part_of(path: Path, mesh: meshio.Mesh, file_format: str) -> Part:
    if file_format == "exodus":
        return exodus_part(path, mesh)
    if file_format == "med":
        return med_part(mesh)
    return still(mesh)
