"""Collections: one file for each step and part, and one that names them all."""

from __future__ import annotations

import json
from collections.abc import Iterator
from pathlib import Path
from typing import NamedTuple, Optional
from xml.etree import ElementTree

import meshio
import numpy as np

from ._errors import ConversionError, told_as_conversion_error
from ._meshfile import read_mesh
from ._source import Frame, Part, Source, still


class _Member(NamedTuple):
    part: str
    time: Optional[float]
    path: Path


def _pvd_members(path: Path) -> list[_Member]:
    with told_as_conversion_error("not read as pvd"):
        root = ElementTree.parse(path).getroot()
        members = []
        for data_set in root.iter("DataSet"):
            part = data_set.get("name") or f"Part {data_set.get('part', '0')}"
            time = data_set.get("timestep")
            file = path.parent / data_set.attrib["file"]
            members.append(_Member(part, None if time is None else float(time), file))
        return members


def _series_members(path: Path) -> list[_Member]:
    with told_as_conversion_error("not read as a file series"):
        files = json.loads(path.read_text(encoding="utf-8"))["files"]
        return [_Member("", float(file["time"]), path.parent / file["name"]) for file in files]


def _series_part(name: str, files: list[_Member], warnings: list[str]) -> Part:
    files = sorted(files, key=lambda file: file.time or 0.0)
    mesh = _read_member(files[0], warnings)
    if len(files) == 1 and not files[0].time:
        return still(mesh, name)
    return Part(mesh, len(files), lambda: _series_frames(files, mesh, warnings), name)


def _read_member(file: _Member, warnings: list[str]) -> meshio.Mesh:
    with told_as_conversion_error(str(file.path)):
        try:
            return read_mesh(file.path, None, warnings)[0]
        except ConversionError as error:
            raise ConversionError(f"{file.path}: {error}") from error


def _series_frames(
    files: list[_Member], first: meshio.Mesh, warnings: list[str]
) -> Iterator[Frame]:
    for file in files:
        mesh = first if file is files[0] else _read_member(file, warnings)
        if mesh is not first and not _is_same(mesh, first):
            raise ConversionError(
                f"{file.path}: the mesh is not that of {files[0].path}; only results may change"
            )
        yield Frame(file.time, mesh.point_data, mesh.cell_data)


def _is_same(one: meshio.Mesh, other: meshio.Mesh) -> bool:
    return (
        np.array_equal(one.points, other.points)
        and [block.type for block in one.cells] == [block.type for block in other.cells]
        and all(np.array_equal(a.data, b.data) for a, b in zip(one.cells, other.cells))
    )


collection_formats = {".pvd": _pvd_members, ".series": _series_members}
"""By suffix what reads which files a collection names."""


def read_collection(path: Path, suffix: str) -> Source:
    """Reads a collection of one of `collection_formats`."""
    members = collection_formats[suffix](path)
    if not members:
        raise ConversionError("the collection names no file")
    missing = [str(member.path) for member in members if not member.path.is_file()]
    if missing:
        raise ConversionError(f"the collection names files that do not exist: {missing[0]}")
    series: dict[str, list[_Member]] = {}
    for member in members:
        series.setdefault(member.part, []).append(member)
    warnings: list[str] = []
    parts = [_series_part(name, files, warnings) for name, files in series.items()]
    if len(parts) == 1:
        parts[0].name = ""
    byte_count = sum(file.stat().st_size for file in {path, *(each.path for each in members)})
    return Source(path, suffix[1:], parts, byte_count, warnings)
