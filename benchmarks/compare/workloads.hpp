/// @file
/// The workloads of a comparison: lists of arrays, the same for every writer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

enum class Kind { Coordinates, Connectivity, Displacement, Stress, Temperature, Probes };

/// One array of 4-byte values: unsigned integers for `Connectivity`, floats for all others.
struct Dataset {
    Kind kind;
    std::uint32_t rows;
    std::uint32_t width;      ///< values per row
    std::uint32_t edge = 0;   ///< nodes along each edge of the mesh, 0 without a mesh
    std::uint32_t moment = 0; ///< number of the step, 0 for none

    std::string name() const;
    std::string step() const; ///< empty for none
    std::uint64_t valueCount() const { return std::uint64_t{rows} * width; }
    std::uint64_t sizeInBytes() const { return valueCount() * 4; }

    /// Writes `valueCount()` values, row after row.
    void fill(void* values) const;
};

/// Arrays in the order in which they are written.
struct Workload {
    std::string name;
    std::string title;
    std::vector<Dataset> datasets;

    /// True: all arrays are in memory before the clock starts. False: one array is refilled each
    /// time, with the clock stopped.
    bool holdsInput = true;

    std::uint64_t sizeInBytes() const;
};

/// @throws std::runtime_error there is no workload of that name
Workload workloadNamed(const std::string& name);

} // namespace Bench
