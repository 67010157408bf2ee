/// @file
/// Errors in a block.
#pragma once

#include "mekreader/container.hpp"
#include "mekreader/error.hpp"

#include <string>

namespace MekReader {

inline std::string describe(const Block& block) {
    std::string text = "block " + std::to_string(block.number);
    return block.isEmpty() || block.isIndex() ? text : text + " (\"" + block.name + "\")";
}

[[noreturn]] inline void fail(const Block& block, const std::string& reason) {
    throw Error(describe(block) + ": " + reason);
}

} // namespace MekReader
