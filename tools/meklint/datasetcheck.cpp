#include "meklint/checks.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace MekLint {

namespace {

/// Begin and end in "Heavy Data".
using Range = std::pair<std::uint64_t, std::uint64_t>;

std::vector<Range> datasetsOf(const MekReader::File& file) {
    std::vector<Range> ranges;
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            if (!variable.linked) {
                ranges.emplace_back(variable.offset, variable.offset + variable.byteSize);
            }
        }
    }
    std::sort(ranges.begin(), ranges.end());
    return ranges;
}

} // namespace

void checkDatasets(const MekReader::File& file, const Reporter& reporter) {
    std::vector<Range> ranges = datasetsOf(file);
    const std::uint64_t length = file.streamLength("Heavy Data");
    ranges.emplace_back(length, length);
    std::uint64_t covered = 0;
    for (const auto& [begin, end] : ranges) {
        if (begin > covered) {
            reporter.add(std::to_string(begin - covered) + " bytes at offset " +
                         std::to_string(covered) +
                         " of \"Heavy Data\": no variable uses these bytes; their array was "
                         "replaced, was given to the id of a group or shape, or its call failed");
        }
        covered = std::max(covered, end);
    }
}

} // namespace MekLint
