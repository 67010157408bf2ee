/// @file
/// Records of "Global Information": which runs wrote the file.
#pragma once

#include "tyr/qbf/block.hpp"

#include <map>
#include <string>
#include <vector>

namespace TyrMek {

/// Describes one writing run.
struct ModifierInfo {
    bool recordHost = false; ///< not written; asks for the two host names
    std::string toolName{};
    std::string toolVersion{};
    std::string formatVersion{};
    std::string date{};
    std::string computerName{}; ///< empty unless `recordHost`
    std::string userName{};     ///< empty unless `recordHost`
    std::string comment{};
};

/// Has a place in the file, but no writer yet.
struct ResultAttributes {
    std::map<std::string, std::string> names;
    std::map<std::string, std::string> values;
};

/// A count, and a sized record of the seven texts for each element.
void Encode(TyrQbf::Block& block, const std::vector<ModifierInfo>& modifiers);

/// The count alone.
void Encode(TyrQbf::Block& block, const std::vector<ResultAttributes>& results);

} // namespace TyrMek
