/// @file
/// The content of a file without the date, for comparisons.
#pragma once

#include "mekreader/model.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Testing {

/// The stored bytes of all blocks except the one that contains the date, and except the index
/// blocks, which contain its length and are validated by the check.
inline std::string withoutDate(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    MekReader::check(path);
    const MekReader::File file(path);
    std::string all;
    for (const MekReader::Block& block : file.blocks()) {
        all += block.name + '\0' + static_cast<char>(block.flags);
        if (block.name != "Global Information" && !block.isIndex()) {
            all += bytes.substr(block.position, block.storedLength);
        }
    }
    return all;
}

} // namespace Testing
