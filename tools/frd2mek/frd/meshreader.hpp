/// @file
/// Reads the node block and the element block of a result file.
#pragma once

#include "frd/job.hpp"
#include "frd/record.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Frd {

/// Every read raises `FormatError` for an invalid line.
class MeshReader {
public:
    /// @param lines must outlive the reader
    /// @param job receives materials that only elements name; must outlive the reader
    MeshReader(LineReader& lines, Job& job) : lines_(lines), job_(job) {}

    /// Reads a block after its header.
    void readNodes(const Line& header);
    void readElements(const Line& header);

    const NodeTable& nodes() const { return nodes_; }

    /// Moves the mesh out of the reader. The node table stays.
    Mesh takeMesh() { return std::exchange(mesh_, {}); }

private:
    void readNode(const Line& line, const Format& format);
    ElementKey elementKeyOf(const Line& line, const Format& format);
    std::int64_t materialOf(const Line& line, Columns columns);
    void readElementNodes(const Format& format, std::size_t count,
                          std::vector<std::uint32_t>& rows);

    LineReader& lines_;
    Job& job_;
    NodeTable nodes_;
    Mesh mesh_;
};

} // namespace Frd
