/// @file
/// Nodes and elements of a result file.
#pragma once

#include "frd/elementtype.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace Frd {

/// The node ids in the order of the file, one per row, with a lookup from id to row.
class NodeTable {
public:
    void add(std::uint32_t id) { ids_.push_back(id); }

    /// Forgets the rows from this one on, which the index does not have yet.
    void resize(std::size_t rows) { ids_.resize(rows); }

    /// Updates the index of `rowOf`. Call it after the last `add`.
    /// @return the row of a node whose id was added before, if there is one
    std::optional<std::size_t> buildIndex();

    /// The row of a node, if the table has this id.
    /// @param guess the row to try first
    std::optional<std::uint32_t> rowOf(std::uint32_t id, std::size_t guess) const;

    std::size_t size() const { return ids_.size(); }
    const std::vector<std::uint32_t>& ids() const { return ids_; }

private:
    struct Entry {
        std::uint32_t id;
        std::uint32_t row;
    };

    std::vector<std::uint32_t> ids_;
    std::vector<Entry> entries_; ///< in ascending order of ids
};

/// Elements of one material and type.
struct ElementSet {
    std::vector<std::uint32_t> ids{};
    std::vector<std::uint32_t> nodeRows{}; ///< element by element
};

/// Material number and type number (1 to 12) of elements.
using ElementKey = std::pair<std::int64_t, std::size_t>;

struct Mesh {
    std::vector<float> coordinates{}; ///< x, y, z of each row of the node table
    std::map<ElementKey, ElementSet> elements{};
};

} // namespace Frd
