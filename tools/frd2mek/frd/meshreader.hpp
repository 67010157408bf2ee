/// @file
/// Reads the node block and the element block of a result file.
#pragma once

#include "frd/binaryblock.hpp"
#include "frd/job.hpp"
#include "frd/mesh.hpp"
#include "frd/record.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace Frd {

/// Every read raises `FormatError` for an invalid line or record. A block that the end of the file
/// cuts is left out.
class MeshReader {
public:
    /// @param input must outlive the reader
    /// @param job receives materials that only elements name; must outlive the reader
    MeshReader(InputReader& input, Job& job) : input_(input), job_(job) {}

    /// Reads a block after its header.
    void readNodes(const Line& header);
    void readElements(const Line& header);

    const NodeTable& nodes() const { return nodes_; }
    std::uint64_t elementCount() const { return elementCount_; }

    /// Elements with nodes that the node block does not define. They are not in the mesh.
    std::uint64_t elementsLeftOut() const { return elementsLeftOut_; }

    /// Moves the mesh out of the reader. The node table stays.
    Mesh takeMesh() { return std::exchange(mesh_, {}); }

private:
    static constexpr std::size_t mostNodes = 20; ///< of an element

    /// An element as the file describes it.
    struct Element {
        std::uint32_t id = 0;
        ElementKey key{};
        std::array<std::uint32_t, mostNodes> nodes{}; ///< ids
    };

    /// What was read of one block.
    struct ElementBlock {
        std::map<ElementKey, ElementSet> sets{};
        std::uint64_t count = 0;
        std::uint64_t leftOut = 0;
        std::size_t guess = 0; ///< row of the next node, likely
    };

    void readTextNodes(const Format& format);
    void readBinaryNodes(const BlockHead& head);
    void readTextElement(const Line& line, const Format& format, Element& element);
    static void readBinaryElement(BinaryBlock& block, Element& element);
    ElementKey elementKeyOf(const Line& line, const Format& format);
    std::int64_t materialOf(const Line& line, Columns columns);
    void add(const Element& element, ElementBlock& block) const;
    void append(ElementBlock&& block);

    InputReader& input_;
    Job& job_;
    NodeTable nodes_;
    Mesh mesh_;
    std::uint64_t elementCount_ = 0;
    std::uint64_t elementsLeftOut_ = 0;
};

} // namespace Frd
