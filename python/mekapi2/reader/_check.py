"""Verifies every rule of the format."""

from __future__ import annotations

from collections.abc import Sequence

from . import _container as streams
from ._arrays import Datasets, circular
from ._container import FROZEN, Container
from ._records import AttributeLists, Info, Materials, NodeRecord, VariableRecord
from .errors import FormatError

_STREAMS = (
    streams.HEAVY,
    streams.TREE,
    streams.LIGHT,
    streams.ATTRIBUTES,
    streams.RESOURCES,
    streams.INFORMATION,
)
_VERSIONS = {"Group": "0.4", "Shape": "0.2", "Geometry": "0.7", "": ""}
_WIDTHS = {1: 3, 4: 1, 5: 1, 6: 1, 9: 1, 24: 1, 25: 1, 26: 3, 27: 6, 28: 6}
for _first in (12, 16, 20):
    _WIDTHS.update({_first: 1, _first + 1: 3, _first + 2: 6, _first + 3: 6})


def check_blocks(container: Container) -> None:
    """Check the order of the streams, and decompress every block.

    Raises
    ------
    FormatError
    """
    order: list[str] = []
    for block in container.blocks:
        if block.name not in _STREAMS:
            raise block.error("unknown stream")
        if block.name == streams.HEAVY and order and order[-1] != streams.HEAVY:
            raise block.error("a block of datasets follows a block of another stream")
        if block.name not in order:
            order.append(block.name)
    first = order.index(streams.HEAVY) + 1 if streams.HEAVY in order else 0
    if order[first : first + 1] != [streams.TREE] or order[-1] != streams.INFORMATION:
        raise FormatError("the streams do not have the order of a model")
    for block in container.blocks:
        if not block.is_compressed:
            raise block.error("it is not compressed")
        if block.flags & FROZEN and block.name != streams.HEAVY:
            raise block.error("only blocks of datasets may have the flag 20")
        container.content(block)


def check_model(
    nodes: Sequence[NodeRecord],
    attributes: AttributeLists,
    materials: Materials,
    datasets: Datasets,
    info: Info,
) -> None:
    """Check all records, and that datasets exist.

    Raises
    ------
    FormatError
    """
    attributes.check(sum((node.type == "Group") + len(node.variables) for node in nodes))
    materials.check(sum(node.type == "Shape" for node in nodes))
    _check_siblings(nodes)
    for node in nodes:
        if _VERSIONS.get(node.type) != node.version or (node.name and not node.type):
            raise _error(node, f"invalid type {node.type!r} or version {node.version!r}")
        if node.placement and node.placement[-1] > (node.id == 1):
            raise _error(node, "the root flag is invalid")
        if len({variable.name for variable in node.variables}) < len(node.variables):
            raise _error(node, "two variables have the same name")
        for index, variable in enumerate(node.variables):
            _check_variable(node, index, variable, datasets)
    if info.version != "1.3":
        raise FormatError("the format version is not 1.3", stream=streams.INFORMATION)


def _error(node: NodeRecord, reason: str) -> FormatError:
    return FormatError(f"node {node.id} ({node.name!r}): {reason}", stream=streams.TREE)


def _check_siblings(nodes: Sequence[NodeRecord]) -> None:
    """Siblings and children follow from the parents, because children are ordered by their ids."""
    links = [[0, 0, 0, 0] for _ in range(len(nodes) + 1)]  # of node 0, the parent of the root
    for node in nodes[1:]:
        parent = links[node.parent]
        previous = parent[3]
        links[node.id][0] = previous
        links[previous][1] = node.id
        parent[2] = parent[2] or node.id
        parent[3] = node.id
        links[0] = [0, 0, 0, 0]
    for node in nodes:
        if tuple(links[node.id]) != node.links:
            raise _error(node, "its links to siblings or children contradict the parents")


def _check_variable(
    node: NodeRecord, index: int, variable: VariableRecord, datasets: Datasets
) -> None:
    if variable.type not in _WIDTHS or variable.element_type not in (1, 5):
        raise _error(node, f"the type of variable {variable.name!r} is unknown")
    if variable.target is not None:
        circular(datasets, (node.id, index))  # raises an exception if the target does not exist
        return
    if variable.width != _WIDTHS[variable.type] or variable.byte_size == 0:
        raise _error(node, f"variable {variable.name!r} has an invalid width or no rows")
    datasets.place(variable)
