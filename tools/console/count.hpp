/// @file
/// Numbers in messages.
#pragma once

#include <cstdint>
#include <string>

namespace Console {

/// "1 node", "2 nodes".
inline std::string counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace Console
