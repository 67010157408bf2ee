/// @file
/// What the head of a result file tells.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Frd {

/// A record with a name and what stands behind it: 1P, or 1U, which may lack the name.
struct NamedText {
    std::string name{};
    std::string text{};
};

struct Job {
    std::string name{};                              ///< may be empty
    std::vector<NamedText> texts{};                  ///< those of no name are the job's heading
    std::map<std::int64_t, std::string> materials{}; ///< number to name
};

} // namespace Frd
