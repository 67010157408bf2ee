/// @file
/// Splits a journal into records, and makes records with valid lengths and checksums.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace Testing {

constexpr std::size_t journalHeadSize = 28;
constexpr std::size_t recordBeginSize = 5; ///< length and kind

inline std::string bytesOf(std::uint32_t number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

/// The records, without their checksums.
inline std::vector<std::string> recordsOf(const std::string& journal) {
    std::vector<std::string> records;
    for (std::size_t at = journalHeadSize; at < journal.size(); at += sizeof(std::uint32_t)) {
        std::uint32_t size = 0;
        std::memcpy(&size, &journal[at], sizeof size);
        records.push_back(journal.substr(at, recordBeginSize + size));
        at += recordBeginSize + size;
    }
    return records;
}

inline std::string checksumOf(const std::string& content) {
    const auto* const bytes = reinterpret_cast<const Bytef*>(content.data());
    return bytesOf(static_cast<std::uint32_t>(crc32(0, bytes, static_cast<uInt>(content.size()))));
}

inline std::string withChecksum(const std::string& record) { return record + checksumOf(record); }

inline std::string makeRecord(char kind, const std::string& payload) {
    return withChecksum(bytesOf(static_cast<std::uint32_t>(payload.size())) + kind + payload);
}

} // namespace Testing
