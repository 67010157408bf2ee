/// @file
/// Records of "Global Information": the write cycles that wrote the file.
#pragma once

#include "tyr/qbf/block.hpp"

#include <map>
#include <string>
#include <vector>

namespace TyrMek {

/// Describes one write cycle.
struct ModifierInfo {
    bool recordHost = false; ///< whether to record the two names below; not written
    std::string toolName{};
    std::string toolVersion{};
    std::string formatVersion{};
    std::string date{};
    std::string computerName{}; ///< empty unless `recordHost`
    std::string userName{};     ///< empty unless `recordHost`
    std::string comment{};
};

/// Reserved: the file holds a count of 0.
struct ResultAttributes {
    std::map<std::string, std::string> names;
    std::map<std::string, std::string> values;
};

/// A count, then for each element a sized record of the seven strings.
void Encode(TyrQbf::Block& block, const std::vector<ModifierInfo>& modifiers);

/// The count alone.
void Encode(TyrQbf::Block& block, const std::vector<ResultAttributes>& results);

} // namespace TyrMek
