"""Writes what a mesh file holds through the library."""

from __future__ import annotations

from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass, field
from typing import Any, Optional, Union

import meshio
import numpy as np
from numpy.typing import NDArray

from ..enumerations import DatasetType
from ..errors import InexactConversion
from ..model import Model, Step
from . import _elements
from ._errors import ConversionError
from ._source import Frame, Part, Source

_separator = "\x1e"  # of paths, and in the file between the names of a result and a step
_mesh_names = ("Coordinates", "Connectivity", "Polylength", "Node Ids", "Element IDs")
_mesh_group = "Mesh"
_node_shape = "Nodes"
_node_id_names = ("Node Ids", "GlobalNodeId")
_element_id_names = ("Element IDs", "GlobalElementId")
_largest_field = 64
_largest_text = 256

Progress = Callable[[int, int], None]
Values = Union[NDArray[Any], Sequence[NDArray[Any]]]


@dataclass
class Counts:
    """What was written."""

    nodes: int = 0
    elements: int = 0
    shapes: int = 0
    results: int = 0
    steps: int = 0
    rounded: int = 0
    """Arrays whose values were rounded to 32-bit floats."""
    warnings: list[str] = field(default_factory=list)


class _Names:
    """Gives each thing a name of its own, the same whenever it is asked for."""

    def __init__(self, reserved: Sequence[str] = ()) -> None:
        self._taken = set(reserved)
        self._given: dict[Any, str] = {}

    def of(self, thing: Any, wanted: str) -> str:
        known = self._given.get(thing)
        if known is not None:
            return known
        base = _name(wanted)
        name, number = base, 1
        while name in self._taken:
            number += 1
            name = f"{base} ({number})"
        self._taken.add(name)
        self._given[thing] = name
        return name


def write(model: Model, source: Source, progress: Optional[Progress] = None) -> Counts:
    """Writes all parts of ``source``, frame after frame."""
    counts = Counts(warnings=source.warnings)
    if any(np.ndim(part.mesh.points) != 2 for part in source.parts):
        raise ConversionError("there are no points in it")
    root = _name(source.path.stem)
    model.add_node("RootGroup", root, _root_attributes(source, counts.warnings))
    total = sum(part.frame_count for part in source.parts)
    done = 0
    results: set[tuple[str, ...]] = set()
    for part in source.parts:
        writer = _PartWriter(model, part, root, counts)
        writer.write_mesh()
        for number, frame in enumerate(part.frames(), 1):
            writer.write_frame(frame, number)
            done += 1
            if progress is not None:
                progress(done, total)
        results |= writer.results
        counts.steps = max(counts.steps, writer.steps)
    counts.results = len(results)
    return counts


class _PartWriter:
    def __init__(self, model: Model, part: Part, root: str, counts: Counts) -> None:
        self.results: set[tuple[str, ...]] = set()
        self.steps = 0
        self._model = model
        self._mesh = part.mesh
        self._counts = counts
        self._shapes = model.add_assembly_components(_paths(part, root), _separator)
        self._names = _Names(_mesh_names)
        self._written_as_ids: set[tuple[str, str]] = set()

    def write_mesh(self) -> None:
        mesh = self._mesh
        point_count = len(mesh.points)
        self._counts.nodes += point_count
        self._counts.shapes += len(self._shapes)
        self._add("Coordinates", _in_space(mesh.points), self._shapes)
        self._add("NodeIds", self._node_ids(), self._shapes)
        for block, shape, ids in zip(mesh.cells, self._shapes, self._element_ids()):
            self._write_block(block, shape, ids)
            self._counts.elements += len(block)
        self._write_sets()

    def write_frame(self, frame: Frame, number: int) -> None:
        step = None
        if frame.time is not None:
            self.steps += 1
            time = str(frame.time).removesuffix(".0")  # shortest, in the precision of the file
            attributes = {"Number": number, "Time": _attribute(frame.time)}
            step = Step(f"Step {number} t={time}", attributes)
        for name, values in frame.point_data.items():
            self._check_length(name, values, len(self._mesh.points))
            self._write_result("A", name, values, self._shapes, step)
        for name, blocks in frame.cell_data.items():
            if len(blocks) != len(self._mesh.cells):
                raise ConversionError(f"cell data {name!r} is not there for every cell block")
            for block, values, shape in zip(self._mesh.cells, blocks, self._shapes):
                self._check_length(name, values, len(block))
                self._write_result("B", name, values, [shape], step)

    def _node_ids(self) -> NDArray[Any]:
        """Those of the file if it has any, or else 1, 2, 3 and so on."""
        for name in _node_id_names:
            given = self._mesh.point_data.get(name)
            if _are_ids([given]):
                self._written_as_ids.add(("A", name))
                return np.ravel(given)
        return _numbers(1, len(self._mesh.points))

    def _element_ids(self) -> list[NDArray[Any]]:
        """The same for each cell block."""
        for name in _element_id_names:
            given = self._mesh.cell_data.get(name)
            if given and _are_ids(given):
                self._written_as_ids.add(("B", name))
                return [np.ravel(ids) for ids in given]
        counts = [len(block) for block in self._mesh.cells]
        ends = np.cumsum(counts)
        return [_numbers(int(end) - count + 1, count) for end, count in zip(ends, counts)]

    def _write_block(self, block: meshio.CellBlock, shape: int, ids: NDArray[Any]) -> None:
        index = _elements.index_of_dimension(block)
        nodes = np.full(len(block), block.data.shape[1], dtype=np.uint32)
        self._add("ElementIds", ids, [shape])
        self._add(
            f"Connectivity{index}", _elements.connectivity(block, len(self._mesh.points)), [shape]
        )
        self._add(f"Polylength{index}", nodes, [shape])

    def _write_sets(self) -> None:
        """Sets become results of 1 for the members and 0 for all others."""
        for name, members in self._mesh.point_sets.items():
            self._write_set("A", name, members, len(self._mesh.points), self._shapes)
        for name, blocks in self._mesh.cell_sets.items():
            if name.startswith("gmsh:"):
                continue  # tags of the geometry, not cells
            if len(blocks) != len(self._mesh.cells):
                self._counts.warnings.append(f"cell set {name!r} does not fit the cells: left out")
                continue
            for block, members, shape in zip(self._mesh.cells, blocks, self._shapes):
                if members is not None and len(members) > 0:
                    self._write_set("B", name, members, len(block), [shape])

    def _write_set(
        self, family: str, name: str, members: Any, count: int, shapes: list[int]
    ) -> None:
        numbers = np.asarray(members, dtype=np.int64)
        is_member = np.isin(np.arange(count), numbers)
        if is_member.sum() != len(np.unique(numbers)):
            raise ConversionError(f"set {name!r} has members that do not exist")
        key = (family, "set", name)
        self.results.add(key)
        self._add(
            f"Result{family}1",
            is_member,
            shapes,
            name=self._names.of(key, f"Set {name}"),
            attributes={"Kind": "point set" if family == "A" else "cell set"},
        )

    def _write_result(
        self, family: str, name: str, values: Any, shapes: list[int], step: Optional[Step]
    ) -> None:
        if (family, name) in self._written_as_ids:
            return
        values = _without_mask(values)
        if values.dtype.kind not in "biuf":
            self._warn_once(f"{name!r} holds no real numbers: left out")
            return
        for suffix, part in _components(values):
            key = (family, name, suffix)
            self.results.add(key)
            width = 1 if part.ndim == 1 else part.shape[1]
            kind = f"Result{family}{width}"
            self._add(kind, part, shapes, name=self._names.of(key, name + suffix), steps=step)

    def _add(self, kind: str, values: NDArray[Any], shapes: list[int], **options: Any) -> None:
        try:
            self._model.add_array(kind, values, shapes, **options)
        except InexactConversion:
            self._model.add_array(kind, values, shapes, lossy=True, **options)
            self._counts.rounded += 1

    def _check_length(self, name: str, values: Any, count: int) -> None:
        if len(values) != count:
            raise ConversionError(f"{name!r} has {len(values)} rows, where {count} are needed")

    def _warn_once(self, text: str) -> None:
        if text not in self._counts.warnings:
            self._counts.warnings.append(text)


def _root_attributes(source: Source, warnings: list[str]) -> dict[str, Union[int, float, str]]:
    mesh = source.parts[0].mesh
    attributes: dict[str, Union[int, float, str]] = {
        "Source format": source.format,
        "Source file": _text(source.path.name),
        "Dimension": mesh.points.shape[1],
    }
    names = _Names(list(attributes))
    for name, value in mesh.field_data.items():
        numbers = _flat(value)
        if len(numbers) > _largest_field:
            warnings.append(f"field data {name!r} of {len(numbers)} values: left out")
            continue
        for index, number in enumerate(numbers, 1):
            wanted = name if len(numbers) == 1 else f"{name}.{index}"
            attributes[names.of((name, index), wanted)] = _attribute(number)
    return attributes


def _flat(value: Any) -> list[Any]:
    if isinstance(value, (str, bytes)) or np.ndim(value) == 0:
        return [value]
    return [number for row in value for number in _flat(row)]


def _attribute(value: Any) -> Union[int, float, str]:
    if isinstance(value, bytes):
        return _text(value.decode("utf-8", errors="replace"))
    if isinstance(value, (bool, np.bool_, int, np.integer)) and 0 <= value < 2**32:
        return int(value)
    try:
        return float(np.float32(value))
    except (TypeError, ValueError):
        return _text(str(value))


def _text(text: str) -> str:
    """What fits an attribute, without half a character at the end."""
    return text.split("\0")[0].encode(errors="replace")[:_largest_text].decode(errors="ignore")


def _paths(part: Part, root: str) -> list[str]:
    """One path for each cell block, or one for the nodes of a mesh without cells."""
    top = [root, part.name] if part.name else [root]
    taken: dict[str, _Names] = {}
    paths: list[str] = []
    for block, region in zip(part.mesh.cells, _regions(part.mesh)):
        groups = [*top, region] if region else top if part.name else [*top, _mesh_group]
        below = _path(groups)
        name = taken.setdefault(below, _Names()).of(len(paths), _elements.shape_name(block))
        paths.append(below + _separator + name)
    return paths or [_path([*top, _node_shape])]


def _path(names: list[str]) -> str:
    return "".join(_separator + _name(name) for name in names)


def _name(text: str) -> str:
    """A name that can be part of a path and is sound UTF-8."""
    return text.encode(errors="replace").decode().replace(_separator, " ") or "unnamed"


def _regions(mesh: meshio.Mesh) -> list[str]:
    """The name of the group, if any, that each cell block belongs to as a whole."""
    return [
        _physical_group(mesh, index) or _enclosing_set(mesh, index)
        for index in range(len(mesh.cells))
    ]


def _physical_group(mesh: meshio.Mesh, index: int) -> str:
    if "gmsh:physical" not in mesh.cell_data:
        return ""
    tags = np.unique(mesh.cell_data["gmsh:physical"][index])
    if len(tags) != 1 or tags[0] == 0:
        return ""
    for name, value in mesh.field_data.items():
        if np.size(value) == 2 and np.array_equal(value, [tags[0], mesh.cells[index].dim]):
            return str(name)
    return f"Physical {tags[0]}"


def _enclosing_set(mesh: meshio.Mesh, index: int) -> str:
    """The one cell set that holds a block and nothing else; several would leave it open."""
    names = [
        name
        for name, blocks in mesh.cell_sets.items()
        if not name.startswith("gmsh:")
        and len(blocks) == len(mesh.cells)
        and blocks[index] is not None
        and len(np.unique(blocks[index])) == len(mesh.cells[index])
    ]
    return str(names[0]) if len(names) == 1 else ""


def _are_ids(arrays: Sequence[Any]) -> bool:
    return all(
        array is not None
        and np.asarray(array).dtype.kind in "iu"
        and np.size(array) == len(array)
        and (len(array) == 0 or (0 <= np.min(array) and np.max(array) < 2**32))
        for array in arrays
    )


def _numbers(first: int, count: int) -> NDArray[Any]:
    return np.arange(first, first + count, dtype=np.uint32)


def _in_space(points: NDArray[Any]) -> NDArray[Any]:
    missing = 3 - points.shape[1]
    return np.pad(points, [(0, 0), (0, missing)]) if missing > 0 else points


def _without_mask(values: Any) -> NDArray[Any]:
    if isinstance(values, np.ma.MaskedArray):
        return np.where(values.mask, np.nan, values.data)
    return np.asarray(values)


def _components(values: NDArray[Any]) -> Iterator[tuple[str, NDArray[Any]]]:
    """Parts of 1, 3 or 6 numbers per row, with what tells them apart in their names."""
    flat = values.reshape(len(values), -1) if values.size > 0 else values.reshape(len(values), 0)
    width = flat.shape[1]
    if values.ndim == 1 or width == 1:
        yield "", values.reshape(-1)
    elif width in (DatasetType.ResultA3.width, DatasetType.ResultA6.width):
        yield "", flat
    else:
        for column, place in enumerate(np.ndindex(*values.shape[1:])):
            yield "." + "".join(str(i + 1) for i in place), flat[:, column]
