"""Writes the contents of a mesh file to a model."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any, Optional

import meshio
import numpy as np
from numpy.typing import NDArray

from ..errors import InexactConversion
from ..model import Model, Step
from ._elements import connectivity, dataset_index
from ._source import ConversionError, Frame, Part, Source
from ._values import (
    Names,
    are_ids,
    attribute,
    components,
    in_space,
    numbers,
    plain_name,
    root_attributes,
    separator,
    shape_paths,
    without_mask,
)

_mesh_names = ("Coordinates", "Connectivity", "Polylength", "Node Ids", "Element IDs")
_node_id_names = ("Node Ids", "GlobalNodeId")
_element_id_names = ("Element IDs", "GlobalElementId")

Progress = Callable[[int, int], None]


@dataclass
class Counts:
    """Numbers of items that were written.

    Attributes
    ----------
    nodes, elements, shapes, results, steps : int
    rounded : int
        Arrays whose values were rounded to 32-bit floats.
    warnings : list of str
    """

    nodes: int = 0
    elements: int = 0
    shapes: int = 0
    results: int = 0
    steps: int = 0
    rounded: int = 0
    warnings: list[str] = field(default_factory=list)


def write(model: Model, source: Source, progress: Optional[Progress] = None) -> Counts:
    """Write all parts of ``source``, one frame at a time.

    Parameters
    ----------
    model : Model
        An open model without nodes.
    source : Source
    progress : callable, optional
        Called after each frame with the number of frames written and the total.

    Raises
    ------
    ConversionError
        The input is inconsistent or has no points.
    Error
        The library cannot write the file.
    """
    counts = Counts(warnings=source.warnings)
    if any(np.ndim(part.mesh.points) != 2 for part in source.parts):
        raise ConversionError("the mesh has no points")
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
    """Writes one part: its mesh, then its frames."""

    def __init__(self, model: Model, part: Part, root: str, counts: Counts) -> None:
        self.results: set[tuple[str, ...]] = set()
        self.steps = 0
        self._model = model
        self._mesh = part.mesh
        self._counts = counts
        self._shapes = model.add_assembly_components(shape_paths(part, root), separator)
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
            time = str(frame.time).removesuffix(".0")  # shortest form in the precision of the input
            attributes = {"Number": number, "Time": attribute(frame.time)}
            step = Step(f"Step {number} t={time}", attributes)
        for name, values in frame.point_data.items():
            _check_length(name, values, len(self._mesh.points))
            self._write_result("A", name, values, self._shapes, step)
        for name, blocks in frame.cell_data.items():
            if len(blocks) != len(self._mesh.cells):
                raise ConversionError(
                    f"cell data {name!r} has {len(blocks)} arrays for "
                    f"{len(self._mesh.cells)} cell blocks"
                )
            for block, values, shape in zip(self._mesh.cells, blocks, self._shapes):
                _check_length(name, values, len(block))
                self._write_result("B", name, values, [shape], step)

    def _node_ids(self) -> NDArray[Any]:
        """Return the node ids of the input, or 1, 2, 3 and so on if it has none."""
        for name in _node_id_names:
            given = self._mesh.point_data.get(name)
            if are_ids([given]):
                self._written_as_ids.add(("A", name))
                return np.ravel(given)
        return numbers(1, len(self._mesh.points))

    def _element_ids(self) -> list[NDArray[Any]]:
        """Return the element ids of each cell block, numbered through all blocks by default."""
        for name in _element_id_names:
            given = self._mesh.cell_data.get(name)
            if given and are_ids(given):
                self._written_as_ids.add(("B", name))
                return [np.ravel(ids) for ids in given]
        counts = [len(block) for block in self._mesh.cells]
        ends = np.cumsum(counts)
        return [numbers(int(end) - count + 1, count) for end, count in zip(ends, counts)]

    def _write_block(self, block: meshio.CellBlock, shape: int, ids: NDArray[Any]) -> None:
        index = dataset_index(block)
        lengths = np.full(len(block), block.data.shape[1], dtype=np.uint32)
        self._add("ElementIds", ids, [shape])
        rows = connectivity(block, len(self._mesh.points))
        self._add(f"Connectivity{index}", rows, [shape])
        self._add(f"Polylength{index}", lengths, [shape])

    def _write_sets(self) -> None:
        """Write each set as a result that is 1 for members and 0 for all others."""
        for name, members in self._mesh.point_sets.items():
            self._write_set("A", name, members, len(self._mesh.points), self._shapes)
        for name, blocks in self._mesh.cell_sets.items():
            if len(blocks) != len(self._mesh.cells):
                self._counts.warnings.append(
                    f"cell set {name!r} skipped: it has {len(blocks)} arrays for "
                    f"{len(self._mesh.cells)} cell blocks"
                )
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
            raise ConversionError(f"set {name!r} contains a member outside 0 to {count - 1}")
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
            self._warn_once(f"{name!r} skipped: values of type {values.dtype} are not supported")
            return
        for suffix, part in components(values):
            key = (family, name, suffix)
            self.results.add(key)
            width = 1 if part.ndim == 1 else part.shape[1]
            kind = f"Result{family}{width}"
            self._add(kind, part, shapes, name=self._names.of(key, name + suffix), steps=step)

    def _add(self, kind: str, values: NDArray[Any], shapes: list[int], **options: Any) -> None:
        """Add an array exactly if possible; otherwise round and count it."""
        try:
            self._model.add_array(kind, values, shapes, exact=True, **options)
        except InexactConversion:
            self._add_rounded(kind, values, shapes, **options)
            self._counts.rounded += 1

    def _add_rounded(
        self, kind: str, values: NDArray[Any], shapes: list[int], **options: Any
    ) -> None:
        try:
            self._model.add_array(kind, values, shapes, **options)
        except InexactConversion as error:
            name = options.get("name")
            raise ConversionError(f"{name!r}: {error}" if name else str(error)) from error

    def _warn_once(self, warning: str) -> None:
        if warning not in self._counts.warnings:
            self._counts.warnings.append(warning)


def _check_length(name: str, values: Any, count: int) -> None:
    if len(values) != count:
        raise ConversionError(f"{name!r} has {len(values)} rows, expected {count}")
