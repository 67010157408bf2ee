/// @file
/// Which file a saver opens.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tyr::Mek2 {

/// One of the two paths is filled. The other fields stay in this record.
struct FileDescription {
    std::string path{};
    std::wstring widePath{};
    std::string fileKind = "tyrn_mek";
    std::vector<std::string> extraNames{};
    std::uint32_t extraWord = 0;
};

} // namespace Tyr::Mek2
