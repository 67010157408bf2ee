"""`Model`, which writes a file, and `Step`."""

from __future__ import annotations

import os
import warnings
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass, field
from types import TracebackType
from typing import Any, Optional, Type, Union, overload

from numpy.typing import ArrayLike

from . import _core, _plain
from ._plain import AttributeValue, PropertyValue
from .enumerations import DatasetType, NodeType, PropertyType
from .errors import InexactConversion

__all__ = ["Model", "Step"]

Attributes = Mapping[str, AttributeValue]


@dataclass(frozen=True)
class Step:
    """A time step, load case or mode.

    Attributes
    ----------
    name : str
    attributes : dict
        Attributes of the variables of this step.
    """

    name: str
    attributes: Attributes = field(default_factory=dict)


class Model:
    """A file that is being written: a tree of groups and shapes, and their arrays.

    Create it with `create`, in a ``with`` block. Arrays are written when they are added; the tree,
    names, attributes and materials are written at the end of the block. Until then the file is
    unfinished and cannot be read.

    Nodes have ids: 1 is the root, the others are numbered from 2, and 0 means no node. The tree has
    a current node; `add_node` adds below it.

    Attributes are dicts with strings of at most 256 bytes in UTF-8, integers from 0 to 2**32 - 1,
    booleans (stored as 1 and 0) and floats (rounded to 32 bits) as values. Other values raise
    `TypeError` or `ValueError`. The library raises subclasses of `Error`. After an exception the
    model can still be used and closed; earlier changes remain.

    Several threads can use a model; it admits one at a time. The GIL is released while the library
    runs, in every method. An array must not be changed during the call.

    Attributes
    ----------
    path : str or bytes
    closed : bool
        Whether `close` has been called, even if it raised an exception.
    """

    path: Union[str, bytes]
    closed: bool

    def __init__(self, core: _core.Model, path: Union[str, bytes]) -> None:
        self._core = core
        self.path = path
        self.closed = False

    @classmethod
    def create(
        cls,
        path: Union[str, bytes, os.PathLike[str], os.PathLike[bytes]],
        *,
        overwrite: bool = False,
        tool_name: str = "",
        tool_version: str = "",
    ) -> Model:
        """Create a file and return its open model.

        Parameters
        ----------
        path : str, bytes or path-like
        overwrite : bool
            Replace an existing file.
        tool_name, tool_version : str
            Name and version of the writing program, stored in the file if the name is not empty.

        Returns
        -------
        Model

        Raises
        ------
        FileOpenException
            The file exists and ``overwrite`` is false. Also a `FileExistsError`.
        MiscelleneousException
            The file cannot be opened. Also an `OSError`.
        ValueError
            The path is empty or contains a zero character.
        """
        core = _core.Model()
        path = os.fspath(path)
        try:
            core.save_to(_plain.path(path), overwrite, tool_name, tool_version)
        except OSError as error:
            error.filename = path
            raise
        return cls(core, path)

    def close(self) -> None:
        """Write the tree, names, attributes, materials and index, and close the file.

        The model is closed afterwards in any case. Closing it again does nothing.

        Raises
        ------
        FileWriteException
            Writing failed. The file is unfinished and cannot be read.
        OverflowError
            The names, attributes and other data of one kind exceed 2**32 - 1 bytes.
        """
        try:
            self._core.close()
        except BaseException:
            self._core.close()  # discards the rest; does not write again
            raise
        finally:
            self.closed = True

    def __enter__(self) -> Model:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None:
        """Close the model.

        After an exception in the block the file is complete as well, with everything added before.
        An error of `close` is then added to that exception as a note.
        """
        try:
            self.close()
        except Exception as close_error:
            if error is None:
                raise
            if hasattr(error, "add_note"):
                error.add_note(f"Closing {os.fsdecode(self.path)!r} failed as well: {close_error}")

    def __del__(self) -> None:
        if not getattr(self, "closed", True):
            warnings.warn(f"unclosed {self!r}", ResourceWarning, source=self)
            self.close()

    def __repr__(self) -> str:
        return f"<mekapi2.Model {self.path!r}, {'closed' if self.closed else 'open'}>"

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
            Attributes of a group; ignored for a shape.

        Returns
        -------
        int
            The id of the new node. For a shape, the id of its geometry, which `add_array` accepts;
            the id of the shape is one lower.

        Raises
        ------
        InvalidArguments
            The type is only valid for the root, and there is one.
        InvalidObjectState
            The model is closed.
        """
        kind = _plain.member(NodeType, type)
        return self._core.add_node(kind, name, _plain.attributes(attributes))

    def set_current_node(self, id: int) -> None:
        """Make a node the current node.

        Raises
        ------
        OutOfBounds
            There is no node ``id``.
        InvalidObjectState
            The model is closed.
        """
        self._core.set_current_node(_plain.node_id(id))

    def move_to_parent(self) -> None:
        """Make the parent of the current node the current node. Does nothing at the root.

        Raises
        ------
        InvalidObjectState
            The model is closed.
        """
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

        Raises
        ------
        InvalidObjectState
            The model is closed.
        """
        if isinstance(path, str):
            return self._core.node_id_of_path(path, separator)
        return self._core.node_id_of_names(list(path))

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
            Added to the attributes of the group; values of existing keys are replaced. Ignored for
            a shape.

        Raises
        ------
        OutOfBounds
            There is no node ``id``.
        InvalidArguments
            A property does not belong to the type of the node or has an invalid number of values.
        TypeError, ValueError
            A property or attribute has an invalid type or value.
        InvalidObjectState
            The model is closed.
        """
        self._core.set_node_data(
            _plain.node_id(id), _plain.properties(properties), _plain.attributes(attributes)
        )

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
            processed in sorted order.
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
            A path does not start with the separator.
        NotYetImplemented
            A path starts with another root.
        TypeError
            ``paths`` is a string.
        InvalidObjectState
            The model is closed.
        """
        if isinstance(paths, str):
            raise TypeError("paths must be a list or a dict of strings, not a string")
        if isinstance(paths, Mapping):
            plain = {path: _plain.attributes(given) for path, given in paths.items()}
            ids = self._core.add_paths_with_attributes(plain, separator)
            return {path: ids[path] for path in paths}
        return self._core.add_paths(list(paths), separator)

    def add_array(
        self,
        type: Union[DatasetType, str, int],
        array: ArrayLike,
        ids: Union[int, Iterable[int]],
        *,
        name: Optional[str] = None,
        steps: Union[None, str, Step, Iterable[Union[str, Step]]] = None,
        attributes: Optional[Attributes] = None,
        lossy: bool = False,
    ) -> None:
        """Write an array and make it a variable of geometries for steps.

        The array is written once. The variable of the first id and the first step owns the array
        and has the attributes; the variables of all other pairs are links to it. If a geometry has
        a variable of this name and step, the new array replaces its array.

        The file stores 32-bit floats and unsigned 32-bit integers. Floating-point arrays are
        stored as floats, integers and booleans as unsigned integers, if that keeps every value
        exactly, NaN and infinities included. Otherwise the other type is tried.

        Does nothing if there are no rows or no ids. The last id is the current node afterwards.

        Parameters
        ----------
        type : DatasetType, str or int
        array : array-like, shape (n,) or (n, DatasetType.width)
            Integers, booleans or floating-point numbers, with any memory order and strides.
        ids : int or iterable of int
            Geometries, from `add_node` or `add_assembly_components`. Other nodes are ignored.
        name : str, optional
            Required for results; the other types have a default name.
        steps : str, Step, or iterable of both, optional
            By default the array belongs to no step, like a mesh. If it is empty, the array is
            written without a variable.
        attributes : dict, optional
            Attributes of the variable. They override those of the step.
        lossy : bool
            If no type keeps every value exactly, round to the nearest 32-bit float.

        Raises
        ------
        InexactConversion
            No type keeps every value exactly, and ``lossy`` is false. Also a `ValueError`. Nothing
            is written.
        TypeError, ValueError
            The array has an invalid type or shape.
        InvalidArguments
            The type has no default name, and ``name`` is missing.
        KeyNotFound
            There is no node with one of the ids.
        OverflowError
            The array has 2**31 rows or more, or 2**32 bytes or more.
        FileWriteException
            Writing failed; `close` will fail as well.
        InvalidObjectState
            The model is closed.
        """
        kind = _plain.member(DatasetType, type)
        values = _plain.array(kind, array)
        inexact = self._core.add_array(
            name,
            kind,
            values,
            _plain.node_ids(ids),
            [(step.name, _plain.attributes(step.attributes)) for step in _steps(steps)],
            _plain.attributes(attributes),
            lossy,
        )
        if inexact is not None:
            index = inexact[: values.ndim]
            raise InexactConversion(
                f"{values[index]!r} at {list(index)} of an array of {values.dtype} has no exact "
                "32-bit value; pass lossy=True to round",
                index,
            )


def _steps(steps: Union[None, str, Step, Iterable[Union[str, Step]]]) -> Sequence[Step]:
    if steps is None:
        return [Step("")]
    if isinstance(steps, (str, Step)):
        steps = [steps]
    return [step if isinstance(step, Step) else Step(step) for step in steps]
