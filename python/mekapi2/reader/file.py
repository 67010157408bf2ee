"""`File`, `Node` and `Variable`: what a model file holds."""

from __future__ import annotations

import math
import os
from collections.abc import Collection, Iterator, Mapping, Sequence
from types import MappingProxyType, TracebackType
from typing import TYPE_CHECKING, Any, Literal, NamedTuple, Optional, Type, Union, overload

import numpy as np
from numpy.typing import NDArray

from . import _check
from ._arrays import Array, Datasets, Key, circular, dtype_of, shape_of, split_name
from ._container import Container, Path
from ._records import (
    AttributeLists,
    AttributeValue,
    Info,
    Material,
    Materials,
    NodeRecord,
    VariableRecord,
    read_info,
    read_nodes,
)

if TYPE_CHECKING:
    import meshio
    from vtkmodules.vtkCommonDataModel import (
        vtkMultiBlockDataSet,
        vtkPartitionedDataSetCollection,
    )

__all__ = ["File", "Node", "Owner", "Variable", "open"]

Attributes = Mapping[str, AttributeValue]
_NO_ATTRIBUTES: Attributes = MappingProxyType({})
_TIME_KEYS = ("Time", "Frequency", "BucklingFactor", "Value")


def open(path: Path, *, cache_size: int = 2**28) -> File:
    """Open a model file to read it.

    Reads the index and all light data; arrays are read when they are asked for.

    Parameters
    ----------
    path : str, bytes or path-like
    cache_size : int
        Bytes of decompressed blocks that are kept in memory, 256 MiB by default. The block that
        was used last is kept in any case.

    Returns
    -------
    File

    Raises
    ------
    UnfinishedError
        The writer did not close the file.
    FormatError
        The file is damaged or no model file.
    OSError
        The file cannot be opened or read.

    Examples
    --------
    >>> with mekapi2.open("plate.mek") as file:
    ...     file["/plate/surface"].variables["Temperature"].array("t=0.5")
    """
    return File(path, cache_size=cache_size)


class File:
    """An open model file; `open` describes the parameters and exceptions.

    Several threads can use a file at the same time. ``file[path]`` is the first node at a path such
    as ``"/plate/surface"``; `KeyError` if there is none. Iteration yields all nodes.

    Attributes
    ----------
    path : str or bytes
    info : Info
        Program, date and version.
    """

    def __init__(self, path: Path, *, cache_size: int = 2**28) -> None:
        self.path: Union[str, bytes] = os.fspath(path)
        self._container = Container(path, cache_size)
        try:
            self._records = read_nodes(self._container)
            self.info: Info = read_info(self._container)
        except BaseException:
            self._container.close()
            raise
        self._datasets = Datasets(self._container, self._records)
        self._attributes = AttributeLists(self._container)
        self._materials = Materials(self._container)
        self._nodes: tuple[Node, ...] = ()
        self._variables: dict[int, Mapping[str, Variable]] = {}

    def close(self) -> None:
        """Close the file. Arrays and nodes that were returned can still be used."""
        self._container.close()

    @property
    def closed(self) -> bool:
        return self._container.closed

    def __enter__(self) -> File:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        shapes = sum(record.type == "Shape" for record in self._records)
        state = ", closed" if self.closed else ""
        return (
            f"<mekapi2.File {self.path!r}: {_counted(len(self._records), 'node')}, "
            f"{_counted(shapes, 'shape')}, {_counted(len(self.steps), 'step')}{state}>"
        )

    @property
    def nodes(self) -> Sequence[Node]:
        """All nodes in the order of their ids: node ``id`` has the index ``id - 1``."""
        if not self._nodes:
            nodes = tuple(Node(self, record) for record in self._records)
            for node in nodes[1:]:
                nodes[node._record.parent - 1]._children.append(node)
            self._nodes = nodes
        return self._nodes

    @property
    def root(self) -> Node:
        return self.nodes[0]

    @property
    def shapes(self) -> list[Node]:
        """All shapes in the order of their ids."""
        return [node for node in self.nodes if node.kind == "shape"]

    def __iter__(self) -> Iterator[Node]:
        return iter(self.nodes)

    def __getitem__(self, path: str) -> Node:
        waiting = [(self.root, path.removeprefix("/"))]
        while waiting:
            node, rest = waiting.pop()
            if rest == node.name:
                return node
            if rest.startswith(node.name + "/"):  # a name may contain the separator
                below = rest[len(node.name) + 1 :]
                waiting += [(child, below) for child in reversed(node.children)]
        raise KeyError(path)

    def __contains__(self, path: str) -> bool:
        try:
            self[path]
        except KeyError:
            return False
        return True

    @property
    def steps(self) -> list[str]:
        """Names of all steps, in the order in which the file mentions them first."""
        return list(self._first_of_steps())

    def _first_of_steps(self) -> dict[str, list[Key]]:
        steps: dict[str, list[Key]] = {}
        for record in self._records:
            for index, variable in enumerate(record.variables):
                step = split_name(variable.name)[1]
                if step is not None:
                    steps.setdefault(step, []).append((record.id, index))
        return steps

    @property
    def times(self) -> dict[str, float]:
        """The time of each step.

        The value of its attribute "Time", if all steps have one and no two are equal; otherwise,
        under the same condition, that of "Frequency", "BucklingFactor" or "Value". If there is no
        such attribute, the number of the step, from 0.
        """
        steps = self._first_of_steps()
        for attribute in _TIME_KEYS:
            times = {step: self._time(keys, attribute) for step, keys in steps.items()}
            known = [time for time in times.values() if time is not None and math.isfinite(time)]
            if len(set(known)) == len(steps):
                return dict(zip(steps, known))
        return {step: float(number) for number, step in enumerate(steps)}

    def _time(self, keys: Sequence[Key], attribute: str) -> Optional[float]:
        for key in keys:
            value = self._attributes[self._datasets.record(key).attributes].get(attribute)
            if value is not None and not isinstance(value, str):
                # the shortest decimal number that rounds to a float: 0.1, not 0.100000001
                return float(str(value))
        return None

    def quantities(self, family: str) -> list[str]:
        """Return the names of the quantities of a family, in stored order.

        Parameters
        ----------
        family : str
            "point" or "cell" for results at nodes or elements; "field" for all others.
        """
        from ._mesh import family as family_of

        names: dict[str, None] = {}
        for record in self._records:
            for variable in record.variables:
                if family_of(variable.type) == family:
                    names[split_name(variable.name)[0]] = None
        return list(names)

    def check(self) -> None:
        """Verify every rule of the format, including the checksums of all blocks.

        Raises
        ------
        FormatError
            Describes the first violation.
        """
        _check.check_blocks(self._container)
        _check.check_model(
            self._records, self._attributes, self._materials, self._datasets, self.info
        )

    def read_all(self, threads: int = 1) -> dict[tuple[int, str, Optional[str]], Array]:
        """Return all arrays. Each block is decompressed once.

        Parameters
        ----------
        threads : int
            Number of blocks that are decompressed at the same time.

        Returns
        -------
        dict of (int, str, str or None) to array
            By id of the geometry, quantity and step. Variables that are linked share an array;
            those without an array are missing.

        Raises
        ------
        FormatError
            A block or the description of an array is damaged.
        """
        owners: dict[Key, Key] = {}
        for node in self._records:
            for index in range(len(node.variables)):
                if not circular(self._datasets, (node.id, index)):
                    owners[node.id, index] = self._datasets.owner((node.id, index))
        arrays = self._datasets.read_all(list(dict.fromkeys(owners.values())), threads)
        return {
            (key[0], *split_name(self._datasets.record(key).name)): arrays[owner]
            for key, owner in owners.items()
        }

    def to_meshio(
        self, step: Optional[str] = None, arrays: Optional[Collection[str]] = None
    ) -> meshio.Mesh:
        """Return the meshes of all shapes as one mesh of meshio.

        Placements are applied. Points that shapes share occur once. A result that some points or
        cells do not have is NaN there. Names of shapes and groups become cell sets.

        Parameters
        ----------
        step : str, optional
            The arrays of this step are included, in addition to those without a step.
        arrays : collection of str, optional
            The quantities to include. By default all.

        Returns
        -------
        meshio.Mesh

        Raises
        ------
        KeyError
            There is no such step.
        FormatError
            The file is damaged, or a mesh does not follow the convention.
        ModuleNotFoundError
            meshio is not installed.
        """
        from ._mesh import Selection
        from ._meshio import to_meshio

        return to_meshio(self, step, Selection(arrays, arrays, arrays))

    @overload
    def to_vtk(
        self,
        step: Optional[str] = ...,
        arrays: Optional[Collection[str]] = ...,
        *,
        point_arrays: Optional[Collection[str]] = ...,
        cell_arrays: Optional[Collection[str]] = ...,
        multiblock: Literal[False] = ...,
    ) -> vtkPartitionedDataSetCollection: ...

    @overload
    def to_vtk(
        self,
        step: Optional[str] = ...,
        arrays: Optional[Collection[str]] = ...,
        *,
        point_arrays: Optional[Collection[str]] = ...,
        cell_arrays: Optional[Collection[str]] = ...,
        multiblock: Literal[True],
    ) -> vtkMultiBlockDataSet: ...

    def to_vtk(
        self,
        step: Optional[str] = None,
        arrays: Optional[Collection[str]] = None,
        *,
        point_arrays: Optional[Collection[str]] = None,
        cell_arrays: Optional[Collection[str]] = None,
        multiblock: bool = False,
    ) -> Union[vtkPartitionedDataSetCollection, vtkMultiBlockDataSet]:
        """Return the meshes of all shapes as data sets of VTK, one unstructured grid for each.

        Placements are applied. The grids have only the points that their cells use. The assembly
        of the collection has the names of the tree. Field data of each grid has the material and
        the time, and that of the result has the name of the step, "Step".

        Parameters
        ----------
        step : str, optional
            The arrays of this step are included, in addition to those without a step.
        arrays : collection of str, optional
            The quantities to include. By default all.
        point_arrays, cell_arrays : collection of str, optional
            The same for results at points and at cells. By default ``arrays``.
        multiblock : bool
            Return nested blocks: one for each group that has shapes below it, and one for each
            shape, for programs that do not know collections.

        Returns
        -------
        vtkPartitionedDataSetCollection or vtkMultiBlockDataSet

        Raises
        ------
        KeyError
            There is no such step.
        FormatError
            The file is damaged, or a mesh does not follow the convention.
        ModuleNotFoundError
            VTK is not installed.
        """
        from . import _vtk
        from ._mesh import Selection

        selection = Selection(
            arrays if point_arrays is None else point_arrays,
            arrays if cell_arrays is None else cell_arrays,
            arrays,
        )
        return (_vtk.to_blocks if multiblock else _vtk.to_vtk)(self, step, selection)

    def _variables_of(self, record: NodeRecord) -> Mapping[str, Variable]:
        known = self._variables.get(record.id)
        if known is None:
            keys: dict[str, dict[Optional[str], Key]] = {}
            for index, variable in enumerate(record.variables):
                quantity, step = split_name(variable.name)
                keys.setdefault(quantity, {}).setdefault(step, (record.id, index))
            known = MappingProxyType({name: Variable(self, name, of) for name, of in keys.items()})
            self._variables[record.id] = known
        return known


class Node:
    """A node of the tree.

    Attributes
    ----------
    children : list of Node
        In the order of their ids.
    """

    __slots__ = ("_children", "_file", "_record")

    def __init__(self, file: File, record: NodeRecord) -> None:
        self._file = file
        self._record = record
        self._children: list[Node] = []

    @property
    def name(self) -> str:
        """Bytes that are not UTF-8 are decoded as with the error handler ``surrogateescape``."""
        return self._record.name

    @property
    def kind(self) -> str:
        """One of "group", "shape" and "geometry"; empty for the root of a file without nodes."""
        return self._record.type.lower()

    @property
    def id(self) -> int:
        return self._record.id

    @property
    def path(self) -> str:
        """The names from the root on, such as "/plate/surface"."""
        names = [node.name for node in self._lineage()]
        return "/" + "/".join(reversed(names))

    def _lineage(self) -> Iterator[Node]:
        node: Optional[Node] = self
        while node is not None:
            yield node
            node = node.parent

    @property
    def parent(self) -> Optional[Node]:
        """None for the root."""
        parent = self._record.parent
        return self._file.nodes[parent - 1] if parent > 0 else None

    @property
    def children(self) -> list[Node]:
        return list(self._children)

    @property
    def geometry(self) -> Optional[Node]:
        """The child that holds the variables of a shape. None for other nodes and root shapes."""
        if self.kind != "shape":
            return None
        return next((node for node in self._children if node.kind == "geometry"), None)

    @property
    def attributes(self) -> Attributes:
        """Attributes of a group; empty for other nodes.

        Values are `int`, `numpy.float32`, `float` or `str`.
        """
        if self.kind != "group":
            return _NO_ATTRIBUTES
        return MappingProxyType(self._file._attributes[self._record.attributes])

    @property
    def placement(self) -> NDArray[np.float64]:
        """Matrix of shape (4, 4) from coordinates in a group to those of its parent.

        ``placement @ [x, y, z, 1]`` scales, rotates and translates. The identity for other nodes.
        """
        return _matrix(self._record.placement)

    @property
    def world_placement(self) -> NDArray[np.float64]:
        """Matrix of shape (4, 4) from coordinates in this node to those of the model."""
        matrix = np.eye(4)
        for node in self._lineage():
            if node._record.placement:
                matrix = node.placement @ matrix
        return matrix

    @property
    def material(self) -> Optional[Material]:
        """The material of a shape; None for other nodes."""
        if self.kind != "shape":
            return None
        return self._file._materials[self._record.material]

    @property
    def variables(self) -> Mapping[str, Variable]:
        """The variables of a shape or geometry by the name of the quantity, in stored order."""
        node = self.geometry or self
        return self._file._variables_of(node._record)

    def __repr__(self) -> str:
        kind = self.kind or "node"
        children = sum(child.kind != "geometry" for child in self._children)
        content = (
            _counted(children, "child", "children")
            if kind == "group"
            else _counted(len(self.variables), "variable")
        )
        return f"<mekapi2 {kind} {self.path!r}, id {self.id}: {content}>"


class Owner(NamedTuple):
    """The variable and step that own a dataset."""

    variable: Variable
    step: Optional[str]


class Variable:
    """A quantity of a geometry: one array, or one for each step, or both.

    All methods take the name of a step, or None for the array that belongs to no step. They raise
    `KeyError` if the variable has no array of this step.

    Attributes
    ----------
    name : str
    """

    __slots__ = ("_file", "_keys", "name")

    def __init__(self, file: File, name: str, keys: dict[Optional[str], Key]) -> None:
        self.name = name
        self._file = file
        self._keys = keys

    @property
    def type(self) -> int:
        """Type of the variable in the file: 1 for coordinates, 12 for scalars at nodes, ..."""
        return self._record(next(iter(self._keys))).type

    @property
    def node(self) -> Node:
        """The geometry that has the variable."""
        return self._file.nodes[next(iter(self._keys.values()))[0] - 1]

    @property
    def steps(self) -> list[str]:
        """Names of the steps in stored order; empty if the variable has none."""
        return [step for step in self._keys if step is not None]

    def _key(self, step: Optional[str]) -> Key:
        key = self._keys.get(step)
        if key is None:
            raise KeyError(_missing_step(self, step))
        return key

    def _record(self, step: Optional[str]) -> VariableRecord:
        return self._file._datasets.record(self._key(step))

    def _owner_record(self, step: Optional[str]) -> VariableRecord:
        return self._file._datasets.record(self._file._datasets.owner(self._key(step)))

    def has_array(self, step: Optional[str] = None) -> bool:
        """Return whether there is an array: the step exists, and no links form a circle."""
        key = self._keys.get(step)
        return key is not None and not circular(self._file._datasets, key)

    def array(self, step: Optional[str] = None) -> Array:
        """Return a new array.

        Returns
        -------
        array, shape (n,) or (n, width)
            Of `float32` or `uint32`.

        Raises
        ------
        CircularLinkError
            The variable has no array, because its links form a circle.
        FormatError
            The array or its block is damaged.
        ValueError
            The file is closed.
        """
        return self._file._datasets.read(self._owner_record(step))

    def shape(self, step: Optional[str] = None) -> tuple[int, ...]:
        """Return the shape of the array without reading it. Raises exceptions as `array`."""
        return shape_of(self._owner_record(step))

    def dtype(self, step: Optional[str] = None) -> np.dtype[Any]:
        """Return the type of the array without reading it. Raises exceptions as `array`."""
        return dtype_of(self._owner_record(step))

    def attributes(self, step: Optional[str] = None) -> Attributes:
        """Return the attributes of the array: those of the owner.

        Values are `int`, `numpy.float32`, `float` or `str`. If the links form a circle, these are
        the variable's own attributes.
        """
        has_owner = self.has_array(step)
        record = self._owner_record(step) if has_owner else self._record(step)
        return MappingProxyType(self._file._attributes[record.attributes])

    def is_link(self, step: Optional[str] = None) -> bool:
        """Return whether the dataset is that of another variable or step."""
        return self._record(step).target is not None

    def is_vibration(self, step: Optional[str] = None) -> bool:
        """Return whether the array describes a vibration."""
        return self._record(step).is_vibration

    def owner(self, step: Optional[str] = None) -> Owner:
        """Return the variable and step that own the dataset; themselves if this is no link.

        Raises
        ------
        CircularLinkError
            There is none, because the links form a circle.
        """
        node, index = self._file._datasets.owner(self._key(step))
        record = self._file._records[node - 1]
        quantity, of_step = split_name(record.variables[index].name)
        return Owner(self._file._variables_of(record)[quantity], of_step)

    def __repr__(self) -> str:
        step = next(iter(self._keys))
        if self.has_array(step):
            content = f"{self.dtype(step).name} {self.shape(step)}"
        else:
            content = "no array"
        steps = self.steps
        if steps:
            shown = repr(steps[0]) if len(steps) == 1 else f"{steps[0]!r} ... {steps[-1]!r}"
            content += f", {_counted(len(steps), 'step')}: {shown}"
        return f"<mekapi2 variable {self.name!r}, type {self.type}: {content}>"


def _counted(count: int, one: str, several: str = "") -> str:
    return f"{count} {one if count == 1 else several or one + 's'}"


def _missing_step(variable: Variable, step: Optional[str]) -> str:
    if step is None:
        return f"{variable.name!r} has an array for each step only; pass one of its steps"
    return f"{variable.name!r} has no step {step!r}"


def _matrix(placement: Sequence[float]) -> NDArray[np.float64]:
    """Return translation * rotation * scale.

    Parameters
    ----------
    placement : sequence of float
        Translation (3), axis and angle of the rotation (4), scale (3); empty for the identity.
    """
    matrix = np.eye(4)
    if placement:
        with np.errstate(all="ignore"):  # any bits can be stored
            matrix[:3, :3] = _rotation(placement[3:7]) * placement[7:10]
        matrix[:3, 3] = placement[:3]
    return matrix


def _rotation(values: Sequence[float]) -> NDArray[np.float64]:
    """Return the rotation matrix of an axis and an angle, by Rodrigues' formula."""
    axis, angle = np.array(values[:3]), np.float64(values[3])
    length = np.sqrt(axis @ axis)
    if length == 0 or angle == 0:
        return np.eye(3)
    x, y, z = axis / length
    cross = np.array([[0, -z, y], [z, 0, -x], [-y, x, 0]])
    turned: NDArray[np.float64] = np.eye(3) + np.sin(angle) * cross
    turned += (1 - np.cos(angle)) * (cross @ cross)
    return turned
