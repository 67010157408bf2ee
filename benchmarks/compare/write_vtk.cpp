/// @file
/// Writes a workload with VTK's XML writer: zlib at level 6, raw appended data, all steps in one
/// file. A mesh is written as an unstructured grid, arrays without a mesh as point data of an
/// image. VTK uses the input arrays without copying them.

#include "compare/writer.hpp"

#include <vtkCellArray.h>
#include <vtkCellType.h>
#include <vtkFloatArray.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkTypeInt32Array.h>
#include <vtkUnstructuredGrid.h>
#include <vtkXMLImageDataWriter.h>
#include <vtkXMLUnstructuredGridWriter.h>
#include <vtkZLibDataCompressor.h>

#include <stdexcept>

namespace {

class Vtk {
public:
    using Input = Bench::PlainInput;

    Vtk(const std::string& path, const std::string&) : path_(path) {}

    void add(const Bench::Dataset& dataset, Input& input) {
        switch (dataset.kind) {
            case Bench::Kind::Coordinates:
                setPoints(dataset, input);
                break;
            case Bench::Kind::Connectivity:
                setHexahedra(dataset, input);
                break;
            default:
                addResult(dataset, input);
        }
    }

    void close() {
        if (hasMesh_) {
            vtkNew<vtkXMLUnstructuredGridWriter> writer;
            write(*writer, grid_);
        } else {
            vtkNew<vtkXMLImageDataWriter> writer;
            write(*writer, image_);
        }
    }

private:
    static vtkNew<vtkFloatArray> floats(const Bench::Dataset& dataset, Input& input) {
        constexpr int keepInput = 1;
        vtkNew<vtkFloatArray> array;
        array->SetNumberOfComponents(static_cast<int>(dataset.width));
        array->SetArray(static_cast<float*>(input.data()),
                        static_cast<vtkIdType>(dataset.valueCount()), keepInput);
        return array;
    }

    void setPoints(const Bench::Dataset& dataset, Input& input) {
        hasMesh_ = true;
        vtkNew<vtkPoints> points;
        points->SetData(floats(dataset, input));
        grid_->SetPoints(points);
    }

    /// Node numbers stay 1-based; subtracting 1 would not change the size of the file.
    void setHexahedra(const Bench::Dataset& dataset, Input& input) {
        constexpr vtkIdType nodesOfHexahedron = 8;
        const auto values = static_cast<vtkIdType>(dataset.valueCount());
        vtkNew<vtkTypeInt32Array> nodes;
        nodes->SetArray(static_cast<vtkTypeInt32*>(input.data()), values, 1);
        vtkNew<vtkTypeInt32Array> offsets;
        offsets->SetNumberOfValues(values / nodesOfHexahedron + 1);
        for (vtkIdType i = 0; i < offsets->GetNumberOfValues(); ++i) {
            offsets->SetValue(i, static_cast<vtkTypeInt32>(i * nodesOfHexahedron));
        }
        vtkNew<vtkCellArray> cells;
        cells->SetData(offsets, nodes);
        grid_->SetCells(VTK_HEXAHEDRON, cells);
    }

    void addResult(const Bench::Dataset& dataset, Input& input) {
        const vtkNew<vtkFloatArray> array = floats(dataset, input);
        array->SetName((dataset.name() + ' ' + dataset.step()).c_str());
        if (!hasMesh_) {
            image_->SetDimensions(static_cast<int>(dataset.rows), 1, 1);
        }
        (hasMesh_ ? grid_->GetPointData() : image_->GetPointData())->AddArray(array);
    }

    void write(vtkXMLWriter& writer, vtkDataObject* data) {
        vtkNew<vtkZLibDataCompressor> compressor;
        compressor->SetCompressionLevel(6);
        writer.SetFileName(path_.c_str());
        writer.SetInputDataObject(data);
        writer.SetDataModeToAppended();
        writer.EncodeAppendedDataOff();
        writer.SetHeaderTypeToUInt64();
        writer.SetCompressor(compressor);
        if (writer.Write() == 0) {
            throw std::runtime_error("VTK failed");
        }
    }

    std::string path_;
    bool hasMesh_ = false;
    vtkNew<vtkUnstructuredGrid> grid_;
    vtkNew<vtkImageData> image_;
};

} // namespace

int main(int argc, char** argv) { return Bench::writerMain<Vtk>(argc, argv); }
