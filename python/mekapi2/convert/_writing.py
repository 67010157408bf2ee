"""Writes what a mesh file holds through the library."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any, Optional

import meshio
import numpy as np
from numpy.typing import NDArray

from ..errors import InexactConversion
from ..model import Model, Step
from ._attributes import attribute, root_attributes
from ._elements import connectivity, index_of_dimension
from ._errors import ConversionError
from ._naming import Names, plain_name, separator
from ._source import Frame, Part, Source
from ._tree import paths_of
from ._values import are_ids, components, in_space, numbers, without_mask

_mesh_names = ("Coordinates", "Connectivity", "Polylength", "Node Ids", "Element IDs")
_node_id_names = ("Node Ids", "GlobalNodeId")
_element_id_names = ("Element IDs", "GlobalElementId")

Progress = Callable[[int, int], None]


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


def write(model: Model, source: Source, progress: Optional[Progress] = None) -> Counts:
    """Writes all parts of ``source``, frame after frame."""
    counts = Counts(warnings=source.warnings)
    if any(np.ndim(part.mesh.points) != 2 for part in source.parts):
        raise ConversionError("there are no points in it")
    root = plain_name(source.path.stem)
    model.add_node("RootGroup", root, root_attributes(source, counts.warnings))
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
        self._shapes = model.add_assembly_components(paths_of(part, root), separator)
        self._names = Names(_mesh_names)
        self._written_as_ids: set[tuple[str, str]] = set()

    def write_mesh(self) -> None:
        mesh = self._mesh
        point_count = len(mesh.points)
        self._counts.nodes += point_count
        self._counts.shapes += len(self._shapes)
        self._add("Coordinates", in_space(mesh.points), self._shapes)
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
            attributes = {"Number": number, "Time": attribute(frame.time)}
            step = Step(f"Step {number} t={time}", attributes)
        for name, values in frame.point_data.items():
            _check_length(name, values, len(self._mesh.points))
            self._write_result("A", name, values, self._shapes, step)
        for name, blocks in frame.cell_data.items():
            if len(blocks) != len(self._mesh.cells):
                raise ConversionError(f"cell data {name!r} is not there for every cell block")
            for block, values, shape in zip(self._mesh.cells, blocks, self._shapes):
                _check_length(name, values, len(block))
                self._write_result("B", name, values, [shape], step)

    def _node_ids(self) -> NDArray[Any]:
        """Those of the file if it has any, or else 1, 2, 3 and so on."""
        for name in _node_id_names:
            given = self._mesh.point_data.get(name)
            if are_ids([given]):
                self._written_as_ids.add(("A", name))
                return np.ravel(given)
        return numbers(1, len(self._mesh.points))

    def _element_ids(self) -> list[NDArray[Any]]:
        """The same for each cell block."""
        for name in _element_id_names:
            given = self._mesh.cell_data.get(name)
            if given and are_ids(given):
                self._written_as_ids.add(("B", name))
                return [np.ravel(ids) for ids in given]
        counts = [len(block) for block in self._mesh.cells]
        ends = np.cumsum(counts)
        return [numbers(int(end) - count + 1, count) for end, count in zip(ends, counts)]

    def _write_block(self, block: meshio.CellBlock, shape: int, ids: NDArray[Any]) -> None:
        index = index_of_dimension(block)
        nodes = np.full(len(block), block.data.shape[1], dtype=np.uint32)
        self._add("ElementIds", ids, [shape])
        rows = connectivity(block, len(self._mesh.points))
        self._add(f"Connectivity{index}", rows, [shape])
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
        rows = np.asarray(members, dtype=np.int64)
        is_member = np.isin(np.arange(count), rows)
        if is_member.sum() != len(np.unique(rows)):
            raise ConversionError(f"set {name!r} has members that do not exist")
        key = (f"{family} set", name)
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
        values = without_mask(values)
        if values.dtype.kind not in "biuf":
            self._warn_once(f"{name!r} holds no real numbers: left out")
            return
        for suffix, part in components(values):
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

    def _warn_once(self, text: str) -> None:
        if text not in self._counts.warnings:
            self._counts.warnings.append(text)


def _check_length(name: str, values: Any, count: int) -> None:
    if len(values) != count:
        raise ConversionError(f"{name!r} has {len(values)} rows, where {count} are needed")
