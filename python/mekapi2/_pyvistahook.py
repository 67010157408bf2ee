"""Lets ``pyvista.wrap`` accept a collection, such as that of `File.to_vtk`."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from ._importhook import when_imported

if TYPE_CHECKING:
    from vtkmodules.vtkCommonDataModel import vtkPartitionedDataSetCollection


def register() -> None:
    """Extend PyVista now if it is imported, otherwise when it will be."""
    when_imported("pyvista", _register_in)


def _register_in(pyvista: Any) -> None:
    """Add a wrapper, which must be a class, unless PyVista has one."""

    class Blocks:
        def __new__(cls, collection: vtkPartitionedDataSetCollection) -> Any:
            return _blocks_of(pyvista, collection)

    pyvista._wrappers.setdefault("vtkPartitionedDataSetCollection", Blocks)


def _blocks_of(pyvista: Any, collection: vtkPartitionedDataSetCollection) -> Any:
    """Return a block for each partition, with the name of its data set."""
    from vtkmodules.vtkCommonDataModel import vtkCompositeDataSet

    blocks = pyvista.MultiBlock()
    for number in range(collection.GetNumberOfPartitionedDataSets()):
        name = collection.GetMetaData(number).Get(vtkCompositeDataSet.NAME())
        for partition in range(collection.GetNumberOfPartitions(number)):
            blocks.append(collection.GetPartition(number, partition), name)
    blocks.GetFieldData().ShallowCopy(collection.GetFieldData())
    return blocks
