/// @file
/// What is done at growing sizes: one model of `count` things, from opening to closing.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Bench {

/// One row of the table.
struct ScaleWork {
    std::string title;

    /// Does the work on a file and gives the seconds of the processor that it took.
    std::function<double(std::uint32_t count, const std::string& path)> run;

    std::vector<std::uint32_t> counts; ///< ascending, each ten times the one before
};

std::vector<ScaleWork> scaleWorks();

} // namespace Bench
