"""Opens the demo's bracket in ParaView with the plug-in, and compares every array with an export of mekinfo.

Usage: pvpython check_reader.py FRD2MEK MEKINFO
"""
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

import MekReader
import features
import mekapi2.reader
import numpy as np
from paraview import simple
from paraview.detail import pythonalgorithm
from vtkmodules.numpy_interface import dataset_adapter as dsa
from vtkmodules.util.numpy_support import vtk_to_numpy

ROOT = pathlib.Path(__file__).parents[2]


def output_of(source, time):
    source.UpdatePipeline(time)
    return source.GetClientSideObject().GetOutputDataObject(0)


def check_selections(source, file):
    """Only the arrays that are ticked are read, and colours of materials if asked for."""
    step = file.steps[0]
    source.PointArrays, source.CellArrays, source.MaterialColors = ["ERROR"], [], 1
    collection = output_of(source, file.times[step])
    assert vtk_to_numpy(
        collection.GetPartition(1, 0).GetCellData().GetArray("Material Color")
    ).tolist() == 2 * [[204, 204, 204, 255]]
    source.MaterialColors = 0
    grid = output_of(source, file.times[step]).GetPartition(1, 0)
    assert dsa.WrapDataObject(grid).PointData.keys() == ["ERROR", "vtkOriginalPointIds"]
    assert dsa.WrapDataObject(grid).CellData.keys() == []
    assembly = collection.GetDataAssembly()
    labels = [assembly.GetAttributeOrDefault(node, "label", "") for node in range(5)]
    assert labels == ["coarse", "STEEL", "HE20", "ALUMINIUM", "HE20"], labels


def check_export(path, mekinfo, source, file):
    """The files for VTK have the times, meshes and arrays that the plug-in reads."""
    folder = path.with_suffix(".vtu")
    subprocess.run([mekinfo, "--vtu", folder, path], check=True, stdout=subprocess.DEVNULL)
    export = simple.OpenDataFile(str(folder / f"{path.stem}.pvd"))
    export.UpdatePipelineInformation()
    assert list(export.TimestepValues) == list(source.TimestepValues)
    for time, step in enumerate(file.steps):
        grids = []
        collection = output_of(source, time + 0.25)
        assert collection.GetFieldData().GetAbstractArray("Step").GetValue(0) == step
        for collection in (output_of(export, time), collection):
            iterator = collection.NewIterator()
            while not iterator.IsDoneWithTraversal():
                grids.append(dsa.WrapDataObject(iterator.GetCurrentDataObject()))
                iterator.GoToNextItem()
        assert len(grids) == 4
        for found, expected in zip(grids, grids[2:]):
            np.testing.assert_array_equal(found.Points, expected.Points)
            np.testing.assert_array_equal(found.Cells, expected.Cells)
            for name in ("PointData", "CellData", "FieldData"):
                one, other = getattr(found, name), getattr(expected, name)
                assert set(one.keys()) - {"Name"} == set(other.keys()), (step, name)
                for array in other.keys():
                    np.testing.assert_array_equal(one[array], other[array], array)


def check_declaration():
    """The XML file declares what the decorators do."""
    (declared,) = pythonalgorithm.get_plugin_xmls(MekReader)
    written = (ROOT / "paraview" / "MekReader.xml").read_text()
    one, other = (ElementTree.canonicalize(text, strip_text=True) for text in (declared, written))
    assert one == other, declared


def check_damaged(folder):
    """A file that cannot be read yields an error and nothing else."""
    (folder / "damaged.mek").write_bytes(b"\x89QBF\r\n\x1a\n1.3\0")
    damaged = simple.OpenDataFile(str(folder / "damaged.mek"))
    assert output_of(damaged, 0).GetNumberOfPartitionedDataSets() == 0
    simple.Delete(damaged)


def check_features(folder):
    for name in features.CASES:
        path = folder / f"{name}.mek"
        shapes = features.write(name, path)
        source = simple.OpenDataFile(str(path))
        features.check_grids(output_of(source, 1), shapes)
        simple.Delete(source)


def main(frd2mek, mekinfo):
    check_declaration()
    simple.LoadPlugin(str(ROOT / "paraview" / "MekReader.xml"))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        path = folder / "job.mek"
        subprocess.run([frd2mek, ROOT / "examples/bracket/coarse.frd", path], check=True)
        check_damaged(folder)
        check_features(folder)
        source = simple.OpenDataFile(str(path))
        source.UpdatePipelineInformation()
        with mekapi2.reader.open(path) as file:
            assert list(source.TimestepValues) == list(file.times.values()) == list(range(8))
            points, cells = file.quantities("point"), file.quantities("cell")
            assert (source.PointArrays.GetData(), source.CellArrays.GetData()) == (points, cells)
            check_export(path, mekinfo, source, file)
            check_selections(source, file)


main(*sys.argv[1:])
