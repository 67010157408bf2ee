/// @file
/// Data from the header of a result file.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Frd {

/// A record 1P or 1U: its name, which may be missing in 1U, and its value.
struct NamedValue {
    std::string name{};
    std::string value{};
};

struct Job {
    std::string name{};                              ///< may be empty
    std::vector<NamedValue> records{};               ///< those without a name form the heading
    std::map<std::int64_t, std::string> materials{}; ///< number to name
};

} // namespace Frd
