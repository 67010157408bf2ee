#include "tyr/mek2/journal/recordfile.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/platform/platform.hpp"
#include "tyr/qbf/zlibstream.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Tyr::Mek2::Journal {

namespace {

std::uint32_t crcOf(const std::string& bytes, std::size_t start, std::size_t size) {
    return TyrQbf::Crc32(0, reinterpret_cast<const unsigned char*>(bytes.data()) + start, size);
}

std::uint32_t decode32(const unsigned char* bytes) {
    return TyrQbf::DecodeLittleEndian<std::uint32_t>(bytes);
}

std::string headOf(const Identity& identity) {
    Encoder head;
    head.bytes.append(signature.begin(), signature.end());
    head.put(formatVersion);
    head.bytes.append(identity.begin(), identity.end());
    return head.bytes;
}

/// Reads `size` bytes in pieces, so that memory is taken for bytes that exist.
bool readInto(std::FILE* stream, std::string& target, std::size_t size) {
    constexpr std::size_t pieceSize = 1 << 20;
    target.clear();
    while (target.size() < size) {
        const std::size_t start = target.size();
        const std::size_t piece = std::min(pieceSize, size - start);
        target.resize(start + piece);
        if (std::fread(&target[start], 1, piece, stream) != piece) {
            return false;
        }
    }
    return true;
}

} // namespace

const std::array<unsigned char, 8> signature = {0x89, 'M', 'E', 'J', 0x0D, 0x0A, 0x1A, 0x0A};

void Encoder::put(const std::string& string) {
    put(static_cast<std::uint32_t>(string.size()));
    bytes += string;
}

RecordFile::RecordFile(const Platform::NativePath& path, const Identity& identity)
    : path_(path), pending_(headOf(identity)), stream_(Platform::createFile(path)) {
    if (stream_ == nullptr) {
        const std::string message = "Unable to create journal " + Platform::inQuotes(path) + ": " +
                                    Platform::lastErrorReason();
        TYR_RAISE(Exception::FileOpenException(message.c_str()));
    }
    std::setvbuf(stream_, nullptr, _IONBF, 0); // `pending_` is the buffer
}

RecordFile::~RecordFile() { std::fclose(stream_); }

void RecordFile::reserve(std::size_t bytes) {
    const std::size_t needed = pending_.size() + bytes;
    if (needed > pending_.capacity()) {
        pending_.reserve(std::max(needed, 2 * pending_.capacity()));
    }
}

void RecordFile::append(std::uint8_t kind, const std::string& payload) {
    reserve(sizeOf(payload.size()));
    const std::size_t start = pending_.size();
    const auto putNumber = [this](std::uint32_t value) {
        const auto bytes = TyrQbf::LittleEndian(value);
        pending_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    };
    putNumber(static_cast<std::uint32_t>(payload.size()));
    pending_ += static_cast<char>(kind);
    pending_ += payload;
    putNumber(crcOf(pending_, start, pending_.size() - start));
}

void RecordFile::write() {
    if (pending_.empty()) {
        return;
    }
    std::clearerr(stream_);
    if (!Platform::seekTo(stream_, written_) ||
        std::fwrite(pending_.data(), pending_.size(), 1, stream_) != 1) {
        raiseWriteError();
    }
    written_ += pending_.size();
    pending_.clear();
}

void RecordFile::synchronize() {
    if (!Platform::synchronize(stream_)) {
        raiseWriteError();
    }
}

void RecordFile::raiseWriteError() const {
    const std::string message =
        "Unable to write journal " + Platform::inQuotes(path_) + ": " + Platform::lastErrorReason();
    TYR_RAISE(Exception::FileWriteException(message.c_str()));
}

RecordReader::RecordReader(const Platform::NativePath& path)
    : stream_(Platform::openFileForReading(path)) {
    if (stream_ == nullptr) {
        const std::string message = "Unable to open journal " + Platform::inQuotes(path) + ": " +
                                    Platform::lastErrorReason();
        TYR_RAISE(Exception::FileOpenException(message.c_str()));
    }
    std::array<unsigned char, headSize> head{};
    size_ = Platform::fileLength(stream_);
    const bool isJournal = std::fread(head.data(), head.size(), 1, stream_) == 1 &&
                           std::equal(signature.begin(), signature.end(), head.begin());
    if (!isJournal || decode32(&head[signature.size()]) != formatVersion) {
        std::fclose(stream_);
        const std::string message =
            Platform::inQuotes(path) +
            (isJournal ? " is a journal of a later version" : " is not a journal");
        TYR_RAISE(Exception::InvalidArguments(message.c_str()));
    }
    std::copy(head.end() - static_cast<std::ptrdiff_t>(identity_.size()), head.end(),
              identity_.begin());
}

RecordReader::~RecordReader() { std::fclose(stream_); }

void RecordReader::restart() {
    std::clearerr(stream_);
    Platform::seekTo(stream_, headSize); // if that fails, `next` finds no whole record
    offset_ = headSize;
}

std::optional<Record> RecordReader::next() {
    constexpr std::size_t beginSize = 5;
    constexpr std::size_t crcSize = 4;
    std::string bytes;
    if (!readInto(stream_, bytes, beginSize)) {
        return std::nullopt;
    }
    const std::uint64_t payloadSize =
        decode32(reinterpret_cast<const unsigned char*>(bytes.data()));
    const std::uint64_t recordSize = RecordFile::sizeOf(static_cast<std::size_t>(payloadSize));
    std::string rest;
    if (recordSize > size_ - offset_ || !readInto(stream_, rest, payloadSize + crcSize)) {
        return std::nullopt;
    }
    const std::uint32_t crc = TyrQbf::Crc32(crcOf(bytes, 0, bytes.size()),
                                            reinterpret_cast<const unsigned char*>(rest.data()),
                                            static_cast<std::size_t>(payloadSize));
    if (crc != decode32(reinterpret_cast<const unsigned char*>(&rest[payloadSize]))) {
        return std::nullopt;
    }
    Record record;
    record.kind = static_cast<std::uint8_t>(bytes.back());
    rest.resize(static_cast<std::size_t>(payloadSize));
    record.payload = std::move(rest);
    offset_ += recordSize;
    return record;
}

} // namespace Tyr::Mek2::Journal
