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

/// Every read raises `FormatError` for a line that does not hold to the format.
class MeshReader {
public:
    /// @param job gets a material that only elements name; must outlive the reader, like `lines`
    MeshReader(LineReader& lines, Job& job) : lines_(lines), job_(job) {}

    /// Reads a block whose head is the line at hand.
    void readNodes(const Line& head);
    void readElements(const Line& head);

    const NodeTable& nodes() const { return nodes_; }

    /// Hands over the mesh, which is empty afterwards; the node table stays.
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
