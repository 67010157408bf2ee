/// @file
/// The comparison of two models.
#pragma once

#include "mekdiff/arraydifference.hpp"
#include "mekreader/model.hpp"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace MekDiff {

struct Options {
    Tolerance tolerance{};
    std::vector<std::string> only{}; ///< names of quantities; empty: compare everything
    bool ignoresOrder = false;       ///< of nodes and variables
};

/// A file and its name in messages.
struct Side {
    MekReader::File& file;
    std::string name;
};

struct Sides {
    Side left;
    Side right;
};

struct Result {
    std::uint64_t differences = 0;
    std::string largest{}; ///< where two arrays differ most; empty if none do
};

/// Compares two models. Nodes with the same path are compared; of siblings with the same name, the
/// first with the first and so on. Memory use is that of both trees, two arrays, and a block of
/// each file.
/// @param report receives one line for each difference
/// @throws MekReader::Error a file is damaged; the message begins with its name
/// @throws std::runtime_error neither model has a variable of a name in `options.only`
Result compare(const Sides& sides, const Options& options,
               const std::function<void(const std::string&)>& report);

} // namespace MekDiff
