#include "meklint/arrayfacts.hpp"

#include "mekreader/variables.hpp"

#include <algorithm>
#include <vector>

namespace MekLint {

namespace {

using MekReader::Variable;

LargestEntry largestOf(const std::vector<std::uint32_t>& rows) {
    const auto largest = std::max_element(rows.begin(), rows.end());
    return largest == rows.end()
               ? LargestEntry{}
               : LargestEntry{*largest, static_cast<std::uint64_t>(largest - rows.begin())};
}

Lengths lengthsOf(const std::vector<std::uint32_t>& nodes) {
    Lengths lengths;
    for (std::size_t element = 0; element < nodes.size(); ++element) {
        lengths.sum += nodes[element];
        if (element == 0 || nodes[element] != nodes[element - 1]) {
            lengths.firstElements.emplace(nodes[element], element);
        }
    }
    return lengths;
}

} // namespace

ArrayFacts::ArrayFacts(MekReader::File& file) {
    for (const MekReader::Node& node : file.nodes()) {
        for (const Variable& variable : node.variables) {
            if (ownerOf(variable) == nullptr || isFloat(variable)) {
                continue;
            }
            if (MekReader::isConnectivity(variable)) {
                largestEntries_.try_emplace(ownerOf(variable));
            } else if (MekReader::isPolylength(variable)) {
                lengths_.try_emplace(ownerOf(variable));
            }
        }
    }
    // in the order of the file, so that each block is decompressed once
    std::map<std::uint64_t, std::vector<const Variable*>> ownersByOffset;
    for (const auto& entry : largestEntries_) {
        ownersByOffset[entry.first->offset].push_back(entry.first);
    }
    for (const auto& entry : lengths_) {
        ownersByOffset[entry.first->offset].push_back(entry.first);
    }
    for (const auto& [offset, owners] : ownersByOffset) {
        for (const Variable* const owner : owners) {
            const std::vector<std::uint32_t> values = file.words(*owner);
            if (const auto found = largestEntries_.find(owner); found != largestEntries_.end()) {
                found->second = largestOf(values);
            }
            if (const auto found = lengths_.find(owner); found != lengths_.end()) {
                found->second = lengthsOf(values);
            }
        }
    }
}

} // namespace MekLint
