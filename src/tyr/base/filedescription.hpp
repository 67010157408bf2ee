/// @file
/// The file that a saver opens.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tyr::Mek2 {

/// At most one of the two paths is not empty. Nothing reads the other fields.
struct FileDescription {
    std::string path{};
    std::wstring widePath{};
    std::string fileKind = "tyrn_mek";
    std::vector<std::string> extraNames{};
    std::uint32_t extraWord = 0;
};

} // namespace Tyr::Mek2
