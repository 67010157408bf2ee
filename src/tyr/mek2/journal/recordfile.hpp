/// @file
/// The file of a journal: a head, then records that are appended and never changed.
///
///     offset  width  content
///     0       8      signature
///     8       4      version of the format, 1
///     12      16     identity, which the model file has as well
///     28             records
///
/// A record:
///
///     0       4      length n of the payload
///     4       1      kind
///     5       n      payload
///     5 + n   4      CRC-32 of the 5 + n bytes before
#pragma once

#include "tyr/platform/files.hpp"
#include "tyr/qbf/coding.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace Tyr::Mek2::Journal {

using Identity = std::array<unsigned char, 16>;

extern const std::array<unsigned char, 8> signature;
constexpr std::uint32_t formatVersion = 1;
constexpr std::size_t headSize = 28;

/// Composes the payload of a record.
class Encoder {
public:
    /// Appends a number, little-endian.
    template <class T>
    void put(T value) {
        const auto encoded = TyrQbf::LittleEndian(value);
        bytes.append(reinterpret_cast<const char*>(encoded.data()), encoded.size());
    }

    /// Appends a 32-bit length and the bytes.
    void put(const std::string& string);

    /// Replaces a number that was put at a position.
    template <class T>
    void replace(std::size_t position, T value) {
        TyrQbf::EncodeLittleEndian(value, reinterpret_cast<unsigned char*>(&bytes[position]));
    }

    std::string bytes;
};

/// Appends records to a new file.
///
/// Records are collected in memory until `write`. If writing fails, they are kept and the next
/// `write` writes them at the same place.
class RecordFile {
public:
    /// Creates the file.
    /// @throws FileOpenException it exists, or the system cannot create it
    RecordFile(const Platform::NativePath& path, const Identity& identity);
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    /// Closes the file and leaves it in place.
    ~RecordFile();

    /// Makes room for `bytes` bytes of records, so that appending them cannot fail.
    void reserve(std::size_t bytes);

    /// Appends a record.
    /// @return bytes of the record in the file
    void append(std::uint8_t kind, const std::string& payload);

    /// Bytes that are not written yet.
    std::size_t pendingSize() const { return pending_.size(); }

    /// Writes all records to the system.
    /// @throws FileWriteException
    void write();

    /// Waits until the device has what was written.
    /// @throws FileWriteException
    void synchronize();

    /// Bytes of a record with a payload of this size.
    static constexpr std::size_t sizeOf(std::size_t payloadSize) { return payloadSize + 9; }

private:
    [[noreturn]] void raiseWriteError() const;

    Platform::NativePath path_;
    std::string pending_; ///< begins with the head
    std::FILE* stream_;
    std::uint64_t written_ = 0;
};

/// A record as it is read.
struct Record {
    std::uint8_t kind = 0;
    std::string payload;
};

/// Reads the records of a file.
class RecordReader {
public:
    /// @throws FileOpenException the system cannot open the file
    /// @throws InvalidArguments it is not a journal, or one of a later version
    explicit RecordReader(const Platform::NativePath& path);
    RecordReader(const RecordReader&) = delete;
    RecordReader& operator=(const RecordReader&) = delete;
    ~RecordReader();

    const Identity& identity() const { return identity_; }

    /// The next record; none at the end, and at a record that is not whole. Records that were
    /// appended since the construction are not read.
    std::optional<Record> next();

    /// Continues with the first record.
    void restart();

    /// Offset of the byte after the last record that was read.
    std::uint64_t offset() const { return offset_; }

    /// Bytes after the last record that was read; 0 at the end if all records are whole.
    std::uint64_t remaining() const { return size_ - offset_; }

private:
    std::FILE* stream_;
    std::uint64_t size_ = 0;
    std::uint64_t offset_ = headSize;
    Identity identity_{};
};

} // namespace Tyr::Mek2::Journal
