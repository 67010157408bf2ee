/// @file
/// The content of a file without the date, for comparisons.
#pragma once

#include "mekreader/model.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace Testing {

/// The stored bytes of all blocks except the one that contains the date, of which the other strings
/// are compared, and except the index blocks, which contain its length and are validated by the
/// check.
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
    for (const MekReader::Modifier& modifier : file.modifiers()) {
        all += modifier.toolName + modifier.toolVersion + modifier.formatVersion +
               modifier.computerName + modifier.userName + modifier.comment;
    }
    return all;
}

/// The content of the streams with data.
inline std::string streamsOf(const std::filesystem::path& path) {
    MekReader::Container container(path);
    std::string all;
    for (const char* name : {"Heavy Data", "Mek Tree", "Light Data", "Attributes", "Resources"}) {
        all += container.stream(name);
    }
    return all;
}

} // namespace Testing
