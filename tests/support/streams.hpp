/// @file
/// The bytes of uncompressed streams, by way of a finished file.
#pragma once

#include "support/testing.hpp"
#include "tyr/qbf/index.hpp"

#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <string>

namespace Testing {

/// The content of the streams of an index that holds one small block for each of `names`, which
/// were put in this order and are not flagged for compression.
inline std::map<std::string, std::string> streamsOf(TyrQbf::Index& index,
                                                    std::initializer_list<std::string> names) {
    std::map<std::string, std::size_t> lengths;
    for (const std::string& name : names) {
        lengths[name] = index.GetDataLength(name);
    }
    const std::filesystem::path path = temporaryPath("streams");
    std::FILE* const file = std::fopen(path.string().c_str(), "w+b");
    index.WriteAllBuffersToFileStream(file);
    std::map<std::string, std::string> streams;
    std::fseek(file, 2800, SEEK_SET);
    for (const std::string& name : names) {
        std::string bytes(lengths[name], '?');
        bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
        streams[name] = bytes;
    }
    std::fclose(file);
    std::filesystem::remove(path);
    return streams;
}

} // namespace Testing
