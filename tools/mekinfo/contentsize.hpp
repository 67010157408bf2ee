/// @file
/// The size of a file's content before compression.
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>

namespace MekInfo {

/// Bytes of all streams, uncompressed.
inline std::uint64_t contentSizeOf(const MekReader::File& file) {
    std::uint64_t size = 0;
    for (const MekReader::Block& block : file.blocks()) {
        if (!block.isEmpty() && !block.isIndex()) {
            size += block.isCompressed() ? block.rawLength : block.storedLength;
        }
    }
    return size;
}

} // namespace MekInfo
