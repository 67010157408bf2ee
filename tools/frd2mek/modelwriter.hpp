/// @file
/// Writes the content of a result file as a model.
#pragma once

#include "console/unfinishedfiles.hpp"
#include "frd/resultfile.hpp"
#include "frd/survey.hpp"

#include <tyr/mek2/model.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Frd {

/// Numbers about a finished conversion.
struct Summary {
    std::size_t nodes = 0;
    std::size_t elements = 0;
    std::size_t shapes = 0;
    std::size_t results = 0; ///< names of results
    std::size_t steps = 0;   ///< names of steps
    std::uintmax_t bytesIn = 0;
    std::uintmax_t bytesOut = 0;
    std::vector<std::string> warnings{}; ///< each one line, without the path
};

/// One write cycle. Call `open` and `writeMesh` once, `writeResult` for each result, then `close`.
class ModelWriter {
public:
    /// Creates a temporary file, which `close` renames to `path`. The destructor removes it if it
    /// is unfinished, and so do the signals of `Console::removeUnfinishedFilesOnSignals`.
    /// @param threads that compress; 0: one per processor
    void open(const std::filesystem::path& path, bool overwrite, unsigned int threads);

    /// Builds the tree and writes all nodes and elements.
    /// @param rootName replaces an empty job name
    void writeMesh(const Job& job, const std::string& rootName, const NodeTable& nodes,
                   const Mesh& mesh);

    /// @param values row by row, as `ResultFile::readValues` returns them
    void writeResult(const ResultHeader& header, const SurveyedResult& survey,
                     const std::vector<float>& values);

    void close();

    const Summary& summary() const { return summary_; }

private:
    void addTree(const Job& job, const std::string& rootName, const Mesh& mesh);
    void describeGroups(const Job& job, const std::string& rootName,
                        const std::map<std::int64_t, std::string>& groupNames);
    void writeNodes(const NodeTable& nodes, const Mesh& mesh);
    void writeElements(unsigned int shape, std::size_t type, const ElementSet& elements);
    void writeComponents(const ResultHeader& header, const SurveyedResult& survey,
                         const Tyr::Mek2::Step& step, const std::vector<float>& values);
    template <class Array>
    void addResult(const std::string& name, Tyr::Mek2::DatasetType type, const Array& array,
                   Tyr::Mek2::Step step, const Tyr::Mek2::Attributes& attributes);
    std::string uniqueStepName(const std::string& result, const std::string& step);

    Tyr::Mek2::Model model_;
    std::optional<Console::UnfinishedFile> registration_; ///< of the temporary file
    Tyr::Mek2::Array1d<unsigned int> shapes_;
    std::map<std::string, std::map<std::string, unsigned int>>
        stepCounts_; ///< by result, then step
    std::set<std::string> stepNames_;
    Summary summary_;
};

} // namespace Frd
