/// @file
/// Workloads of variable size: one model of `count` nodes, steps or blocks each.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Bench {

/// One row of the table.
struct ScaleWorkload {
    std::string title;

    /// Runs the workload on a file and returns its CPU seconds.
    std::function<double(std::uint32_t count, const std::string& path)> run;

    std::vector<std::uint32_t> counts; ///< ascending, each ten times its predecessor
};

std::vector<ScaleWorkload> scaleWorkloads();

} // namespace Bench
