/// @file
/// Reads the ASCII result file of the solver: head and mesh at once, then result after result.
///
/// Each line is a record, which tells by its first columns what it is (a blank, then Fortran
/// formats; "short" is format code 0, "long" is 1):
///
///     '   1' 'C' name, 'U' text, 'P' parameter of the result that follows
///     '   2C'  18X, I12 count, 37X, I1 format
///       ' -1'  I5 or I10 node, 3E12.5 x y z
///       ' -3'
///     '   3C'  18X, I12 count, 37X, I1 format
///       ' -1'  I5 or I10 element, 3I5 type, group, material
///       ' -2'  15I5 or 10I10 nodes, as many lines as it takes
///       ' -3'
///     ' 100C'  6A1 set, E12.5 value, I12 count, 20A1 text, I2 analysis, I5 number, 10A1 text,
///              I2 format
///       ' -4'  2X, 8A1 name, I5 components, I5 place of the values (1: nodes)
///       ' -5'  2X, 8A1 name, 5I5 menu, kind, row, column, existence, 8A1 how to derive it
///       ' -1'  I5 or I10 node, 6E12.5 values
///       ' -2'  5X or 10X, 6E12.5 further values, as many lines as it takes
///       ' -3'
///     ' 9999'
///
/// The counts of the three blocks are not relied on: the solver leaves them blank or writes others
/// than it has lines.
#pragma once

#include "frd/job.hpp"
#include "frd/linereader.hpp"
#include "frd/meshreader.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Frd {

/// What the values of a result block hold for, as numbers of its head.
enum AnalysisType : std::int64_t {
    StaticAnalysis = 0,
    TimeStep = 1,
    Frequency = 2,
    LoadStep = 3,
    Buckling = 4 ///< the solver's use of "user named"
};

/// Kind of a component, as a number of its record.
enum ComponentKind : std::int64_t {
    ScalarKind = 1,
    VectorKind = 2,
    TensorKind = 4,
    PolarVectorKind = 12, ///< amplitude or phase of a complex vector, as the next
    PolarTensorKind = 14
};

struct Component {
    std::string name{};
    std::int64_t kind = 0;
};

/// Everything of a result block but its values.
struct ResultHead {
    std::string name{};
    double value = 0; ///< time, frequency or factor
    std::int64_t analysisType = 0;
    std::int64_t number = 0; ///< of the step of output, counted through the whole file
    std::string text{};
    std::string analysisText{};
    std::vector<NamedText> parameters{};
    std::vector<Component> components{}; ///< only those with values in the file
};

/// An open result file. Keeps the node numbers and nothing else between two calls.
///
/// Every operation raises `FormatError` for a line that does not hold to the format, and
/// `std::runtime_error` if the system can't read the file.
class ResultFile {
public:
    /// Reads everything up to the first result.
    explicit ResultFile(const std::filesystem::path& path, LineReader::Watcher watcher = {});
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    const Job& job() const { return job_; }
    const NodeTable& nodes() const { return meshReader_.nodes(); }

    /// Hands over the mesh, which is empty afterwards.
    Mesh takeMesh() { return meshReader_.takeMesh(); }

    /// Goes to the next result; the values of the last one must have been read.
    /// @return false if there is none and the file is complete
    bool nextResult(ResultHead& head);

    /// Reads the values of the result whose head was read last.
    /// @param values one row for each of `nodes()` with the components of the head; quiet NaN where
    ///     the file has no value. What it held before is lost.
    void readValues(const ResultHead& head, std::vector<float>& values);

private:
    void readUpToResult();
    bool readRecord();
    void readUserText();
    void readParameter();
    void readMeshBlock();
    void readResultHead(ResultHead& head);
    void readComponents(std::vector<Component>& components, std::int64_t count);
    void readNodeValues(std::size_t count, float* values);
    void expectEndOfFile();

    LineReader lines_;
    Line line_{}; ///< the line at hand
    Job job_;
    MeshReader meshReader_;
    std::vector<NamedText> parameters_; ///< of the result to come
    Format resultFormat_{};
    enum class Place { BehindBlock, AtResult, AtEnd } place_ = Place::BehindBlock;
    bool hasSeenResult_ = false;
};

} // namespace Frd
