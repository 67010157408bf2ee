#include "mekrecover/blockscanner.hpp"

#include "console/error.hpp"

#include <zlib.h>

#include <array>
#include <cstddef>
#include <new>
#include <string>

namespace MekRecover {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view signature = "\x89QBF\r\n\x1A\n"sv;
constexpr std::uint64_t firstPosition = 2800;
constexpr std::uint64_t firstIndexBlock = 19;
constexpr std::uint64_t indexBlockDistance = 200;
constexpr std::uint64_t indexBlockLength = 27804;
constexpr std::size_t lengthFieldSize = 4;
constexpr std::size_t inputSize = std::size_t{64} * 1024;
constexpr std::size_t outputSize = std::size_t{256} * 1024;

bool isIndexBlock(std::uint64_t number) { return number % indexBlockDistance == firstIndexBlock; }

/// The state of zlib for one stream.
class Inflation {
public:
    Inflation() {
        if (inflateInit(&stream) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;
    ~Inflation() { inflateEnd(&stream); }

    z_stream stream{};
};

} // namespace

BlockScanner::BlockScanner(const std::filesystem::path& path)
    : path_(path),
      file_(path, std::ios::binary),
      position_(firstPosition),
      input_(inputSize),
      output_(outputSize) {
    std::array<char, signature.size()> start{};
    file_.read(start.data(), start.size());
    if (!file_ || std::string_view(start.data(), start.size()) != signature) {
        throw Console::ForeignFile(path, "is not a model file");
    }
    size_ = std::filesystem::file_size(path);
}

std::optional<WholeBlock> BlockScanner::next(const Sink& sink) {
    if (remaining() < lengthFieldSize) {
        return std::nullopt;
    }
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(position_));
    std::array<unsigned char, lengthFieldSize> field{};
    file_.read(reinterpret_cast<char*>(field.data()), field.size());
    WholeBlock block;
    for (std::size_t i = 0; i < field.size(); ++i) {
        block.contentLength |= std::uint32_t{field[i]} << (8 * i);
    }
    const std::optional<std::uint64_t> streamLength = inflateStream(block.contentLength, sink);
    if (!streamLength) {
        return std::nullopt;
    }
    block.number = number_++;
    block.position = position_;
    block.storedLength = lengthFieldSize + *streamLength;
    position_ += block.storedLength;
    skipIndexBlock();
    return block;
}

/// The table is final only in a complete file; before, its place may not be written.
void BlockScanner::skipIndexBlock() {
    if (isIndexBlock(number_) && remaining() > indexBlockLength) {
        ++number_;
        position_ += indexBlockLength;
    }
}

std::size_t BlockScanner::readPiece() {
    file_.read(input_.data(), static_cast<std::streamsize>(input_.size()));
    if (file_.bad()) {
        throw Console::FileError(path_, "cannot be read");
    }
    return static_cast<std::size_t>(file_.gcount());
}

/// Decompresses the stream at the current position of the file.
/// @return its length; none if it does not end, or has another content length or checksum
std::optional<std::uint64_t> BlockScanner::inflateStream(std::uint32_t contentLength,
                                                         const Sink& sink) {
    Inflation inflation;
    z_stream& stream = inflation.stream;
    std::uint64_t consumed = 0;
    std::uint64_t produced = 0;
    int status = Z_OK;
    while (status == Z_OK) {
        if (stream.avail_in == 0) {
            stream.avail_in = static_cast<uInt>(readPiece());
            stream.next_in = reinterpret_cast<Bytef*>(input_.data());
        }
        const uInt available = stream.avail_in;
        stream.next_out = reinterpret_cast<Bytef*>(output_.data());
        stream.avail_out = static_cast<uInt>(output_.size());
        status = inflate(&stream, Z_NO_FLUSH); // Z_BUF_ERROR without input
        const std::size_t count = output_.size() - stream.avail_out;
        consumed += available - stream.avail_in;
        produced += count;
        if (produced > contentLength) {
            return std::nullopt;
        }
        sink(std::string_view(output_.data(), count));
    }
    if (status == Z_MEM_ERROR) {
        throw std::bad_alloc();
    }
    return status == Z_STREAM_END && produced == contentLength ? std::optional(consumed)
                                                               : std::nullopt;
}

} // namespace MekRecover
