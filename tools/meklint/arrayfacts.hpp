/// @file
/// What the checks need to know about the values of arrays.
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>
#include <map>

namespace MekLint {

/// The owner of the array of a variable; null if the links of the variable lead to none.
inline const MekReader::Variable* ownerOf(const MekReader::Variable& variable) {
    const MekReader::Variable* const end = variable.linked ? *variable.chainEnd : &variable;
    return end != nullptr && !end->linked ? end : nullptr;
}

/// @param variable must have an array
inline std::uint64_t rowsOf(const MekReader::Variable& variable) {
    return ownerOf(variable)->rows();
}

/// @param variable must have an array
inline bool isFloat(const MekReader::Variable& variable) {
    return ownerOf(variable)->elementType == MekReader::Variable::floatElements;
}

/// The largest entry of a connectivity.
struct LargestEntry {
    std::uint32_t value = 0;
    std::uint64_t index = 0;
};

/// The numbers of nodes of the elements.
struct Lengths {
    std::uint64_t sum = 0;
    std::map<std::uint32_t, std::uint64_t> firstElements{}; ///< by number of nodes
};

/// Reads each connectivity and each polylength of a file once, in the order of the file, and keeps
/// only the facts. Arrays of floats are not read.
class ArrayFacts {
public:
    /// @throws MekReader::Error an array cannot be read
    explicit ArrayFacts(MekReader::File& file);

    /// @param variable is a connectivity, or a polylength, of unsigned numbers
    const LargestEntry& largestEntry(const MekReader::Variable& variable) const {
        return largestEntries_.at(ownerOf(variable));
    }
    const Lengths& lengths(const MekReader::Variable& variable) const {
        return lengths_.at(ownerOf(variable));
    }

private:
    std::map<const MekReader::Variable*, LargestEntry> largestEntries_; ///< by owner
    std::map<const MekReader::Variable*, Lengths> lengths_;             ///< by owner
};

} // namespace MekLint
