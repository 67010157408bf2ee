/// @file
/// What is written in a comparison: lists of arrays, the same for every writer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

enum class Kind { Coordinates, Connectivity, Displacement, Stress, Temperature, Probes };

/// One array of 4-byte values: `Connectivity` of unsigned numbers, all others of floats.
struct Dataset {
    Kind kind;
    std::uint32_t rows;
    std::uint32_t width;      ///< values per row
    std::uint32_t edge = 0;   ///< nodes along each edge of the mesh, where there is one
    std::uint32_t moment = 0; ///< number of the step; 0 for what belongs to none

    std::string name() const;
    std::string step() const; ///< empty for what belongs to none
    std::uint64_t valueCount() const { return std::uint64_t{rows} * width; }
    std::uint64_t sizeInBytes() const { return valueCount() * 4; }

    /// Writes `valueCount()` values, row after row.
    void fill(void* values) const;
};

/// Arrays in the order in which they are written.
struct Work {
    std::string name;
    std::string title;
    std::vector<Dataset> datasets;

    /// All input is in memory before the work starts; if not, one array is filled anew each time.
    bool holdsInput = true;

    std::uint64_t sizeInBytes() const;
};

/// @throws std::runtime_error there is none of that name
Work workNamed(const std::string& name);

} // namespace Bench
