/// @file
/// Reads the result file of the solver: header and mesh first, then one result at a time.
///
/// Each line is a record that starts with a key. Below, keys are quoted and the other fields are
/// Fortran formats. Ids are I5 in the short format (format code 0) and I10 in the long one (1).
/// The format code can change from block to block.
///
///     '   1' 'C' name, 'U' text, 'P' parameter of the next result
///     '   2C'  18X, I12 count, 37X, I1 format
///       ' -1'  I5 or I10 node, 3E12.5 x y z
///       ' -3'
///     '   3C'  18X, I12 count, 37X, I1 format
///       ' -1'  I5 or I10 element, 3I5 type, group, material
///       ' -2'  15I5 or 10I10 nodes, on as many lines as needed
///       ' -3'
///     ' 100C'  6A1 set, E12.5 value, I12 count, 20A1 text, I2 analysis, I5 number, 10A1 text,
///              I2 format
///       ' -4'  2X, 8A1 name, I5 components, I5 location of the values (1: nodes)
///       ' -5'  2X, 8A1 name, 5I5 menu, kind, row, column, existence, 8A1 how to derive it
///       ' -1'  I5 or I10 node, 6E12.5 values
///       ' -2'  5X or 10X, 6E12.5 further values, on as many lines as needed
///       ' -3'
///     ' 9999'
///
/// The solver leaves the counts of the three blocks blank or writes counts that do not match its
/// records. They are used only for a binary block at the end of an unfinished file.
///
/// In a binary block (format code 3 for nodes, otherwise 2) binary records follow the line end of
/// the header, of a result that of its last record -5. They are little-endian, without padding, and
/// the next text record follows the last of them directly:
///
///     node     i32 node, 3 f64 x y z
///     element  i32 element, type, group, material, then its nodes in the order of the text
///     values   i32 node, a f32 for each component that is not derived
#pragma once

#include "frd/inputreader.hpp"
#include "frd/job.hpp"
#include "frd/meshreader.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Frd {

/// Type of analysis, as numbered in the header of a result block.
enum AnalysisType : std::int64_t {
    StaticAnalysis = 0,
    TimeStep = 1,
    Frequency = 2,
    LoadStep = 3,
    Buckling = 4 ///< the format calls it "user named"
};

/// Kind of a component, as numbered in its record.
enum ComponentKind : std::int64_t {
    ScalarKind = 1,
    VectorKind = 2,
    TensorKind = 4,
    PolarVectorKind = 12, ///< amplitude or phase of a complex vector; the next likewise
    PolarTensorKind = 14
};

struct Component {
    std::string name{};
    std::int64_t kind = 0;
};

/// A result block without its values.
struct ResultHeader {
    std::string name{};
    double value = 0; ///< time, frequency or factor
    std::int64_t analysisType = 0;
    std::int64_t number = 0; ///< of the output step, counted through the whole file
    std::string text{};
    std::string analysisText{};
    std::vector<NamedValue> parameters{};
    std::vector<Component> components{}; ///< only those with values in the file
};

/// How the file ends.
enum class Ending {
    Unread,         ///< the end was not reached yet
    Finished,       ///< by record 9999
    BetweenRecords, ///< without record 9999, like the next
    InsideRecord
};

/// Values at nodes that the node block does not define, by the name of the result.
using LeftOutValues = std::map<std::string, std::uint64_t>;

/// An open result file. Between two calls it keeps only the node table and the job.
///
/// Every operation raises `FormatError` for an invalid line, and `std::runtime_error` if the file
/// cannot be read. An unfinished file ends after its last complete block.
class ResultFile {
public:
    /// Reads everything up to the first result.
    explicit ResultFile(const std::filesystem::path& path, InputReader::Watcher watcher = {});
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    const Job& job() const { return job_; }
    const NodeTable& nodes() const { return meshReader_.nodes(); }
    std::uint64_t elementCount() const { return meshReader_.elementCount(); }
    std::uint64_t elementsLeftOut() const { return meshReader_.elementsLeftOut(); }
    const LeftOutValues& valuesLeftOut() const { return valuesLeftOut_; }
    Ending ending() const { return ending_; }

    /// Moves the mesh out of the reader.
    Mesh takeMesh() { return meshReader_.takeMesh(); }

    /// Reads the header of the next result. The values of the previous result must have been read
    /// or skipped.
    /// @return false at the end of the file
    bool nextResult(ResultHeader& header);

    /// Reads the values of the result whose header was read last.
    /// @param values is set to one row for each of `nodes()`, with one column per component; a
    ///     quiet NaN where the file has no value
    /// @return false if the end of the file cuts the block
    bool readValues(const ResultHeader& header, std::vector<float>& values);

    /// Passes the values of the result whose header was read last without checking them.
    /// @return false if the end of the file cuts the block
    bool skipValues(const ResultHeader& header);

    /// Returns to the first result.
    void rewind();

private:
    enum class Position { AfterBlock, AtResult, AtEnd };

    class ValueTable;

    template <class Read>
    bool unlessCut(Read read);
    void readUpToResult();
    bool readRecord();
    void readUserText();
    void readParameter();
    void readMeshBlock();
    void readResultHeader(ResultHeader& header);
    void readComponents(std::vector<Component>& components, std::int64_t count);
    void readTextValues(ValueTable& table);
    void readBinaryValues(ValueTable& table);
    void readNodeValues(std::size_t count, float* values);
    void expectEndOfFile();

    InputReader input_;
    Line line_{}; ///< the current line
    Job job_;
    MeshReader meshReader_;
    std::vector<NamedValue> parameters_; ///< of the next result
    BlockHead resultHead_{};
    InputReader::Mark lastHead_{}; ///< before the header that was read last
    std::optional<InputReader::Mark> firstResult_;
    std::vector<NamedValue> firstParameters_;
    LeftOutValues valuesLeftOut_;
    Position position_ = Position::AfterBlock;
    Ending ending_ = Ending::Unread;
    bool hasSeenResult_ = false;
};

} // namespace Frd
