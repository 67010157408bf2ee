#include "tyr/qbf/deflatepiece.hpp"

#include "tyr/exception/raise.hpp"

#include <zlib.h>

#include <array>
#include <limits>

namespace TyrQbf {

namespace {

constexpr int rawDeflate = -15; // window bits; negative: without zlib's header and checksum
constexpr int memoryLevel = 8;  // as in `compress2`
constexpr std::size_t flushBytes = 16;

[[noreturn]] void RaiseUnableToCompress() {
    TYR_RAISE(Tyr::Exception::MiscelleneousException("Unable to compress block"));
}

/// The state of zlib for one piece.
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

    z_stream stream{};
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

void DeflatePiece::AppendContent(std::uint64_t length, std::uint32_t adler32) {
    constexpr std::uint64_t modulus = 65521; // of Adler-32; `z_off_t` may have 32 bits
    checksum = static_cast<std::uint32_t>(
        adler32_combine(checksum, adler32, static_cast<z_off_t>(length % modulus)));
    contentLength += length;
}

void CompressPiece(const unsigned char* content, std::size_t length, std::int32_t level,
                   PieceEnd end, std::size_t dictionarySize, DeflatePiece& piece) {
    if (length > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        RaiseUnableToCompress();
    }
    Deflation deflation(level);
    z_stream& stream = deflation.stream;
    if (dictionarySize != 0 && deflateSetDictionary(&stream, content - dictionarySize,
                                                    static_cast<uInt>(dictionarySize)) != Z_OK) {
        RaiseUnableToCompress();
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): zlib does not change the content
    stream.next_in = const_cast<Bytef*>(content);
    stream.avail_in = static_cast<uInt>(length);
    piece.bytes.resize(deflateBound(&stream, stream.avail_in) + flushBytes);
    stream.next_out = piece.bytes.data();
    stream.avail_out = static_cast<uInt>(piece.bytes.size());
    const bool isFinal = end == PieceEnd::Final;
    const int result = deflate(&stream, isFinal ? Z_FINISH : Z_SYNC_FLUSH);
    if (result != (isFinal ? Z_STREAM_END : Z_OK) || stream.avail_in != 0 ||
        stream.avail_out == 0) {
        RaiseUnableToCompress();
    }
    piece.bytes.resize(piece.bytes.size() - stream.avail_out);
    piece.contentLength = length;
    piece.checksum =
        static_cast<std::uint32_t>(adler32_z(adler32_z(0, nullptr, 0), content, length));
}

ZlibAssembly::ZlibAssembly(std::int32_t level, const Sink& receiver) : sink(receiver) {
    const std::array<unsigned char, 2> header = HeaderOf(level);
    sink(header.data(), header.size());
}

void ZlibAssembly::Add(const DeflatePiece& piece) {
    if (piece.source != nullptr) {
        piece.source->read(sink);
    } else {
        sink(piece.bytes.data(), piece.bytes.size());
    }
    whole.AppendContent(piece.contentLength, piece.checksum);
}

void ZlibAssembly::End() {
    constexpr std::array<unsigned char, 2> emptyFinalBlock = {0x03, 0x00};
    sink(emptyFinalBlock.data(), emptyFinalBlock.size());
}

void ZlibAssembly::Finish() {
    constexpr std::size_t checksumSize = 4;
    std::array<unsigned char, checksumSize> trailer{}; // big-endian
    for (std::size_t i = 0; i < checksumSize; ++i) {
        trailer[i] = static_cast<unsigned char>(whole.checksum >> (8 * (checksumSize - 1 - i)));
    }
    sink(trailer.data(), trailer.size());
}

} // namespace TyrQbf
