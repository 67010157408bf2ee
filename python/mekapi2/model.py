"""`Model`, which writes a file, and `Step`."""

from __future__ import annotations

import contextlib
import copyreg
import os
import warnings
import weakref
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from dataclasses import dataclass, field
from types import TracebackType
from typing import NoReturn, Optional, Type, Union, overload

import numpy as np
from numpy.typing import ArrayLike

from . import _core, _plain
from ._plain import AttributeValue, PropertyValue
from .enumerations import DatasetType, NodeType, PropertyType
from .errors import InvalidArguments, InvalidObjectState, OutOfBounds

__all__ = ["Model", "Step"]

Attributes = Mapping[str, AttributeValue]
Path = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]


@dataclass(frozen=True)
class Step:
    """A time step, load step or mode.

    Attributes
    ----------
    name : str
    attributes : dict
        Attributes of the variables of this step.

    Raises
    ------
    TypeError
        The name is not a string, or the attributes are not a dict.
    ValueError
        The name is empty or contains the character 0x1E.
    """

    name: str
    attributes: Attributes = field(default_factory=dict)

    def __post_init__(self) -> None:
        _plain.variable_name("a step's name", self.name)
        if not isinstance(self.attributes, Mapping):
            given = type(self.attributes).__name__
            raise TypeError(f"a step's attributes must be a dict, not {given}")


class Model:
    """A file that is being written: a tree of groups and shapes, and their arrays.

    ``Model(path)`` creates the file; use it in a ``with`` block. Arrays are written when they are
    added; the tree, names, attributes and materials are written at the end of the block. Until then
    the file is unfinished, and readers refuse it.

    Nodes have ids: 1 is the root, the others are numbered from 2, and 0 means no node. The tree has
    a current node; `add_node` adds below it.

    Attributes are dicts with strings of at most 256 bytes in UTF-8, integers from 0 to 2**32 - 1,
    booleans (stored as 1 and 0) and floats (rounded to 32 bits) as values. Other values raise
    `TypeError` or `ValueError`. The library raises subclasses of `Error`; a closed model raises
    `InvalidObjectState`. After an exception the model can still be used and closed; earlier changes
    remain.

    Several threads can use a model; it admits one at a time. The GIL is released while the library
    runs, in every method. An array must not be changed during the call.

    Parameters
    ----------
    path : str, bytes or path-like
    overwrite : bool
        Replace an existing file.
    tool_name, tool_version : str
        Name and version of the writing program, stored in the file if the name is not empty.
    journal : bool
        Record the calls and blocks in the file ``path.journal``, so that `checkpoint` can be called
        and ``mekrecover`` makes a complete file after a killed run.
    replace_when_complete : bool
        Write under a temporary name, which becomes ``path`` when the model is closed. If the
        ``with`` block raises an exception, the temporary file is removed instead, unless there is a
        journal.
    threads : int, optional
        Compress on this number of threads, 0 for one per processor. The bytes of the file are the
        same for every number. Without it, blocks are compressed as a whole on the calling thread.

    Attributes
    ----------
    path : str or bytes
    closed : bool
        Whether `close` has been called, even if it raised an exception.

    Raises
    ------
    FileExistsError
        The file, or with ``journal`` the journal of an earlier run, exists and ``overwrite`` is
        false.
    FileNotFoundError, PermissionError, IsADirectoryError, OSError
        The file cannot be created.
    ValueError
        The path is empty or contains a zero character, or ``threads`` is negative
        or above 1024.
    """

    def __init__(
        self,
        path: Path,
        *,
        overwrite: bool = False,
        tool_name: str = "",
        tool_version: str = "",
        journal: bool = False,
        replace_when_complete: bool = False,
        threads: Optional[int] = None,
    ) -> None:
        core = _core.Model()
        self.path: Union[str, bytes] = os.fspath(path)
        with self._naming_the_file():
            core.save_to(
                _plain.path(self.path),
                _plain.flag("overwrite", overwrite),
                _plain.string("tool_name", tool_name),
                _plain.string("tool_version", tool_version),
                _plain.flag("journal", journal),
                _plain.flag("replace_when_complete", replace_when_complete),
                _plain.thread_count(threads),
            )
        self._core = core
        self._replaces_when_complete = replace_when_complete
        self.closed: bool = False
        forget = core.abandon if replace_when_complete else core.close
        self._close_if_forgotten = weakref.finalize(self, _close_forgotten, forget, repr(self))
        copyreg.pickle(type(self), _refuse_copy)  # `help` would list a method for it

    @classmethod
    def create(
        cls,
        path: Path,
        *,
        overwrite: bool = False,
        tool_name: str = "",
        tool_version: str = "",
        journal: bool = False,
        replace_when_complete: bool = False,
        threads: Optional[int] = None,
    ) -> Model:
        """Create a file and return its open model, as ``Model(path)`` does."""
        return cls(
            path,
            overwrite=overwrite,
            tool_name=tool_name,
            tool_version=tool_version,
            journal=journal,
            replace_when_complete=replace_when_complete,
            threads=threads,
        )

    @contextlib.contextmanager
    def _naming_the_file(self) -> Iterator[None]:
        try:
            yield
        except OSError as error:
            if error.errno is not None:
                error.filename = self.path
            raise

    def close(self) -> None:
        """Write the tree, names, attributes, materials and index, and close the file.

        The model is closed afterwards in any case. Closing it again does nothing.

        Raises
        ------
        FileWriteException
            Writing failed. The file is unfinished; with a journal, ``mekrecover`` makes a complete
            file of it. Also an `OSError`.
        OverflowError
            The names, attributes and other data of one kind exceed 2**32 - 1 bytes.
        """
        self.closed = True
        self._close_if_forgotten.detach()
        with self._naming_the_file():
            self._core.close()

    def checkpoint(self, durable: bool = False) -> None:
        """Make everything so far recoverable by ``mekrecover``, whatever ends the process.

        Compresses and writes the arrays that are still in memory, so the time depends on what was
        added since the last checkpoint. Frequent checkpoints make a larger file.

        Parameters
        ----------
        durable : bool
            Wait until the device has everything, which can then also be recovered after a power
            failure.

        Raises
        ------
        InvalidObjectState
            The model was opened without ``journal``, or it is closed.
        FileWriteException
            Writing failed. The model can be used further. Also an `OSError`.
        """
        with self._naming_the_file():
            self._core.checkpoint(_plain.flag("durable", durable))

    def _abandon(self) -> None:
        self.closed = True
        self._close_if_forgotten.detach()
        self._core.abandon()

    def __enter__(self) -> Model:
        """Return the model. Raises `InvalidObjectState` if it is closed."""
        if self.closed:
            raise InvalidObjectState("the model is closed")
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        """Close the model.

        After an exception in the block the file is complete as well, with everything added before.
        An error of `close` is then added to that exception as a note. With
        ``replace_when_complete`` the file is not completed after an exception.
        """
        if error is not None and self._replaces_when_complete:
            self._abandon()
            return
        try:
            self.close()
        except Exception as close_error:
            if error is None:
                raise
            if hasattr(error, "add_note"):
                error.add_note(f"Closing {os.fsdecode(self.path)!r} failed as well: {close_error}")

    def __repr__(self) -> str:
        return f"<mekapi2.Model {self.path!r}, {'closed' if self.closed else 'open'}>"

    def _kind(self, id: int) -> str:
        """Return "group", "shape" or "geometry". Raises `OutOfBounds` if there is no such node."""
        kind = self._core.node_kind(id)
        if kind is None:
            raise OutOfBounds(f"no node has the id {id}")
        return kind

    def add_node(
        self,
        type: Union[NodeType, str, int],
        name: str,
        attributes: Optional[Attributes] = None,
    ) -> int:
        """Add a node below the current node, or the root if the tree is empty.

        The new node is the current node afterwards.

        Parameters
        ----------
        type : NodeType, str or int
        name : str
        attributes : dict, optional
            Attributes of a group. A shape has none.

        Returns
        -------
        int
            The id of the new node. For a shape, the id of its geometry, which `add_array` accepts;
            the id of the shape is one lower.

        Raises
        ------
        InvalidArguments
            The type is only valid for the root, and there is one; or a shape has attributes.
        """
        kind = _plain.member(NodeType, type)
        plain = _plain.attributes(attributes)
        if kind is NodeType.Shape and plain:
            raise InvalidArguments("a shape has no attributes; set those of a group")
        if kind < NodeType.Group and self._core.node_kind(1) is not None:
            raise InvalidArguments(f"{kind.name} is only for the root, which exists")
        return self._core.add_node(kind, _plain.string("name", name), plain)

    def set_current_node(self, id: int) -> None:
        """Make a node the current node.

        Raises
        ------
        OutOfBounds
            There is no node ``id``.
        """
        id = _plain.node_id(id)
        self._kind(id)
        self._core.set_current_node(id)

    def move_to_parent(self) -> None:
        """Make the parent of the current node the current node. Does nothing at the root."""
        self._core.move_to_parent()

    def get_node_id(self, path: Union[str, Iterable[str]], separator: str = "/") -> int:
        """Return the id of the node at a path, or 0 if there is none.

        The root is the current node afterwards, unless the path is empty.

        Parameters
        ----------
        path : str or iterable of str
            ``"/root/group/shape"``, or the names from the root on. The path of a geometry is the
            path of its shape followed by the name of the shape. The names of an iterable must not
            contain the character 0x1E.
        separator : str
            Separates the names if ``path`` is a string.

        Returns
        -------
        int
        """
        separator = _plain.string("separator", separator)
        if isinstance(path, str):
            return self._core.node_id_of_path(_plain.string("path", path), separator)
        return self._core.node_id_of_names(_plain.strings("path", "each name of the path", path))

    def set_node_data(
        self,
        id: int,
        properties: Optional[Mapping[Union[PropertyType, str, int], PropertyValue]] = None,
        attributes: Optional[Attributes] = None,
    ) -> None:
        """Set the placement or attributes of a group, or the material of a shape.

        The node is the current node afterwards; for a geometry, its shape.

        Parameters
        ----------
        id : int
            A group, a shape or the geometry of a shape.
        properties : dict, optional
            Values by `PropertyType` or its name: ``{"Translation": (1, 0, 0)}``,
            ``{"DiffuseColor": (0.8, 0, 0)}``. `PropertyType` lists the number of values.
        attributes : dict, optional
            Added to the attributes of the group; values of existing keys are replaced. A shape has
            none.

        Raises
        ------
        OutOfBounds
            There is no node ``id``.
        InvalidArguments
            A property does not belong to the type of the node or has an invalid number of values;
            or a shape has attributes. Nothing is set.
        TypeError, ValueError
            A property or attribute has an invalid type or value. Nothing is set.
        """
        id = _plain.node_id(id)
        node_kind = self._kind(id)
        node, is_group = f"node {id} is a {node_kind}", node_kind == "group"
        plain = _plain.properties(properties)
        for kind in map(PropertyType, plain):
            if (kind <= PropertyType.Scale) != is_group:
                owner = "groups" if kind <= PropertyType.Scale else "shapes"
                raise InvalidArguments(f"{kind.name} is for {owner}; {node}")
        of_group = _plain.attributes(attributes)
        if of_group and not is_group:
            raise InvalidArguments(f"attributes are for groups; {node}")
        self._core.set_node_data(id, plain, of_group)

    @overload  # a mapping is also an iterable; type checkers use the first overload that matches
    def add_assembly_components(  # type: ignore[misc]
        self, paths: Mapping[str, Optional[Attributes]], separator: str = "/"
    ) -> dict[str, int]: ...

    @overload
    def add_assembly_components(
        self, paths: Iterable[str], separator: str = "/"
    ) -> list[int]: ...

    def add_assembly_components(
        self,
        paths: Union[Mapping[str, Optional[Attributes]], Iterable[str]],
        separator: str = "/",
    ) -> Union[dict[str, int], list[int]]:
        """Add all groups and shapes of a list of paths; existing nodes are reused.

        Parameters
        ----------
        paths : iterable of str, or dict of str to attributes
            A path starts with the separator and the name of the root. It ends in the separator for
            a group; otherwise its last name is a shape. All other names are groups. The
            attributes of a dict are set on the groups at the ends of the paths; the paths are
            processed in sorted order. Only paths that end in the separator can have attributes.
        separator : str
            Each of its characters separates names.

        Returns
        -------
        list of int, or dict of str to int
            The id of the group or of the geometry of the shape for each path, in the order of
            ``paths``; 0 for a path without a name.

        Raises
        ------
        InvalidArguments
            A path does not start with the separator, or the path of a shape has attributes.
        NotYetImplemented
            A path starts with another root.
        TypeError
            ``paths`` is a string, or a path is not a string.
        """
        separator = _plain.string("separator", separator)
        if not isinstance(paths, Mapping):
            plain = _plain.strings("paths", "each of the paths", paths)
            return self._add_paths([(path, None) for path in plain], separator)
        ordered = sorted(_plain.strings("paths", "each of the paths", list(paths)))
        ids = self._add_paths([(path, paths[path]) for path in ordered], separator)
        by_path = dict(zip(ordered, ids))
        return {path: by_path[path] for path in paths}

    def _add_paths(
        self, paths: Sequence[tuple[str, Optional[Attributes]]], separator: str
    ) -> list[int]:
        plain = [(path, _plain.attributes(attributes)) for path, attributes in paths]
        for path, attributes in plain:
            if path and not path.startswith(separator):
                raise InvalidArguments(f"the path {path!r} does not start with {separator!r}")
            if attributes and not (path.endswith(separator) and path.strip(separator)):
                raise InvalidArguments(
                    f"attributes are for groups; the path {path!r} does not end in {separator!r}"
                )
        return self._core.add_paths(plain, separator)

    def add_array(
        self,
        type: Union[DatasetType, str, int],
        array: ArrayLike,
        ids: Union[int, Iterable[int]],
        *,
        name: Optional[str] = None,
        steps: Union[None, str, Step, Iterable[Union[None, str, Step]]] = None,
        attributes: Optional[Attributes] = None,
        polylength: bool = False,
        exact: bool = False,
    ) -> None:
        """Write an array and make it a variable of geometries for steps.

        The array is written once. The variable of the first id and the first step owns the array
        and has the attributes; the variables of all other pairs are links to it. If a geometry has
        a variable of this name and step, the new array replaces its array.

        The file stores 32-bit floats and unsigned 32-bit integers. Coordinates, displacements and
        results are stored as floats, rounded to the nearest one; results of integers from 0 to
        2**32 - 1 as unsigned integers. All other arrays are stored as unsigned integers and take
        whole numbers from 0 to 2**32 - 1.

        Does nothing if there are no rows. The geometry of the last id is the current node
        afterwards.

        Parameters
        ----------
        type : DatasetType, str or int
        array : array-like, shape (n,) or (n, DatasetType.width)
            Integers, booleans or floating-point numbers, with any memory order and strides.
            Connectivity of m elements with k nodes can have the shape (m, k).
        ids : int or iterable of int
            Shapes, by their own id or that of their geometry, which `add_node` and
            `add_assembly_components` return.
        name : str, optional
            Required for results; the other types have a default name. It must not be empty or
            contain the character 0x1E.
        steps : str, Step, or iterable of both, optional
            By default the array belongs to no step, like a mesh. In an iterable, None means no
            step. The names must differ.
        attributes : dict, optional
            Attributes of the variable. They override those of the step. The keys ``Complex``,
            ``Contents``, ``DataSource``, ``DataType``, ``Structure`` and those that start with
            ``Link.`` are not stored and raise an exception.
        polylength : bool
            Also write the number of nodes of each element of a connectivity of shape (m, k).
        exact : bool
            Refuse values that are not exact in 32 bits.

        Raises
        ------
        InexactConversion
            A finite value is too large for a 32-bit float, is not a whole number in range where
            one is required, or is not exact and ``exact`` is true. Also a `ValueError`. Nothing is
            written.
        TypeError, ValueError
            The array has an invalid type or shape, or ``ids`` or ``steps`` is empty.
        InvalidArguments
            The type has no default name, and ``name`` is missing; one of the ids is a group; or an
            attribute is not stored.
        KeyNotFound
            There is no node with one of the ids.
        OverflowError
            The array has 2**31 rows or more, or 2**32 bytes or more.
        FileWriteException
            Writing failed; `close` fails as well unless a later call can write the missing bytes.
            Also an `OSError`.
        """
        kind = _plain.member(DatasetType, type)
        values = _plain.array(kind, array)
        if name is None and kind.name.startswith("Result"):
            raise InvalidArguments(f"{kind.name} has no default name; pass name=")
        nodes = _plain.node_ids(ids)
        all_steps = _steps(steps)
        rows = values.reshape(-1) if _plain.is_connectivity(kind) else values
        if _plain.flag("polylength", polylength) and (values.ndim == 1 or rows is values):
            raise ValueError("polylength=True takes connectivity of shape (m, k)")
        with self._naming_the_file():
            refused = self._core.add_array(
                None if name is None else _plain.variable_name("name", name),
                kind,
                _plain.element_type(kind),
                rows,
                nodes,
                [
                    (step.name, _plain.array_attributes(step.attributes)) if step else ("", {})
                    for step in all_steps
                ],
                _plain.array_attributes(attributes),
                _plain.flag("exact", exact),
            )
        if refused is not None:
            index = refused[: values.ndim]
            if rows.ndim < values.ndim:
                index = tuple(int(i) for i in np.unravel_index(refused[0], values.shape))
            raise _plain.refusal(kind, values, index, exact)
        if polylength:
            lengths = np.full(len(values), values.shape[1], np.uint32)
            lengths_of = DatasetType(kind + DatasetType.Polylength0)
            self.add_array(lengths_of, lengths, nodes, steps=all_steps)


def _steps(
    steps: Union[None, str, Step, Iterable[Union[None, str, Step]]]
) -> Sequence[Optional[Step]]:
    if steps is None or isinstance(steps, (str, Step)):
        steps = [steps]
    if not isinstance(steps, Iterable):
        raise TypeError(f"steps must be names or Steps, not {type(steps).__name__}")
    result = [
        step if step is None or isinstance(step, Step) else Step(step) for step in steps
    ]
    if not result:
        raise ValueError("steps is empty; the array would belong to nothing")
    seen: set[Optional[str]] = set()
    for step in result:
        name = step.name if step else None
        if name in seen:
            raise ValueError(f"the step {name!r} is given twice")
        seen.add(name)
    return result


def _refuse_copy(_: Model) -> NoReturn:
    """Refuse `copy` and `pickle`: one file has one model."""
    raise TypeError("a Model cannot be copied or pickled")


def _close_forgotten(close: Callable[[], None], description: str) -> None:
    warnings.warn(f"unclosed {description}", ResourceWarning)
    close()
