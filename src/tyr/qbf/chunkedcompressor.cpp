#include "tyr/qbf/chunkedcompressor.hpp"

#include "tyr/exception/raise.hpp"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace TyrQbf {

namespace {

constexpr std::size_t chunkSize = std::size_t{128} * 1024;
constexpr std::size_t dictionarySize = std::size_t{32} * 1024;
constexpr std::size_t chunksAtOnce = 64;
constexpr int rawDeflate = -15; // window bits; negative: without zlib's header and checksum
constexpr int memoryLevel = 8;  // as in `compress2`
constexpr std::size_t flushBytes = 16;

struct Chunk {
    std::vector<unsigned char> compressed{};
    uLong checksum = 0; ///< Adler-32 of the content
};

/// The state of zlib for one chunk.
class Deflation {
public:
    explicit Deflation(int level) {
        const int result =
            deflateInit2(&stream, level, Z_DEFLATED, rawDeflate, memoryLevel, Z_DEFAULT_STRATEGY);
        if (result == Z_MEM_ERROR) {
            TYR_RAISE(Tyr::Exception::MemoryAllocationException());
        }
        if (result != Z_OK) {
            RaiseUnableToCompress();
        }
    }
    Deflation(const Deflation&) = delete;
    Deflation& operator=(const Deflation&) = delete;
    ~Deflation() { deflateEnd(&stream); }

    [[noreturn]] static void RaiseUnableToCompress() {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("Unable to compress block"));
    }

    z_stream stream{};
};

/// A block, seen as chunks. An empty one has one chunk.
class Content {
public:
    Content(const unsigned char* content, std::uint32_t length) : bytes(content), size(length) {}

    std::size_t ChunkCount() const {
        return std::max<std::size_t>((size + chunkSize - 1) / chunkSize, 1);
    }

    std::size_t SizeOf(std::size_t chunk) const {
        return std::min(chunkSize, size - chunk * chunkSize);
    }

    void Compress(std::size_t number, int level, Chunk& chunk) const {
        const unsigned char* const start = bytes + number * chunkSize;
        Deflation deflation(level);
        z_stream& stream = deflation.stream;
        if (number > 0 &&
            deflateSetDictionary(&stream, start - dictionarySize, dictionarySize) != Z_OK) {
            Deflation::RaiseUnableToCompress();
        }
        const bool isLast = number + 1 == ChunkCount();
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): zlib does not change the content
        stream.next_in = const_cast<Bytef*>(start);
        stream.avail_in = static_cast<uInt>(SizeOf(number));
        chunk.compressed.resize(deflateBound(&stream, stream.avail_in) + flushBytes);
        stream.next_out = chunk.compressed.data();
        stream.avail_out = static_cast<uInt>(chunk.compressed.size());
        const int result = deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
        if (result != (isLast ? Z_STREAM_END : Z_OK) || stream.avail_in != 0 ||
            stream.avail_out == 0) {
            Deflation::RaiseUnableToCompress();
        }
        chunk.compressed.resize(chunk.compressed.size() - stream.avail_out);
        chunk.checksum = adler32_z(adler32_z(0, nullptr, 0), start, SizeOf(number));
    }

private:
    const unsigned char* bytes;
    std::size_t size;
};

/// The first two bytes of a zlib stream, as `deflate` writes them.
std::array<unsigned char, 2> HeaderOf(std::int32_t level) {
    constexpr unsigned deflateWith32KiB = 0x78;
    constexpr std::int32_t defaultLevel = 6;
    const unsigned speed = level < 2 ? 0 : level < defaultLevel ? 1 : level == defaultLevel ? 2 : 3;
    const unsigned header = deflateWith32KiB << 8 | speed << 6;
    return {deflateWith32KiB, static_cast<unsigned char>((header + 31 - header % 31) & 0xFF)};
}

} // namespace

ChunkedCompressor::ChunkedCompressor(ParallelFor tasks, std::int32_t compressionLevel)
    : parallelFor(std::move(tasks)), level(compressionLevel) {}

void ChunkedCompressor::operator()(const unsigned char* content, std::uint32_t length,
                                   const Sink& sink) const {
    const Content block(content, length);
    const std::array<unsigned char, 2> header = HeaderOf(level);
    sink(header.data(), header.size());
    uLong checksum = adler32_z(0, nullptr, 0);
    std::vector<Chunk> chunks(std::min(chunksAtOnce, block.ChunkCount()));
    for (std::size_t first = 0; first < block.ChunkCount(); first += chunksAtOnce) {
        const std::size_t count = std::min(chunksAtOnce, block.ChunkCount() - first);
        RunTasks(parallelFor, count,
                 [&](std::size_t index) { block.Compress(first + index, level, chunks[index]); });
        for (std::size_t index = 0; index < count; ++index) {
            const Chunk& chunk = chunks[index];
            sink(chunk.compressed.data(), chunk.compressed.size());
            checksum = adler32_combine(checksum, chunk.checksum,
                                       static_cast<z_off_t>(block.SizeOf(first + index)));
        }
    }
    constexpr std::size_t checksumSize = 4;
    std::array<unsigned char, checksumSize> trailer{}; // big-endian
    for (std::size_t i = 0; i < checksumSize; ++i) {
        trailer[i] = static_cast<unsigned char>(checksum >> (8 * (checksumSize - 1 - i)));
    }
    sink(trailer.data(), trailer.size());
}

} // namespace TyrQbf
