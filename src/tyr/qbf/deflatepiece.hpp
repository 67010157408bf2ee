/// @file
/// Parts of a zlib stream (RFC 1950) that are compressed independently, and their assembly.
///
///     offset  width  content of the stream
///     0       2      header, which names the level
///     2       ...    pieces of one deflate stream (RFC 1951), each from byte to byte; the last one
///                    ends the deflate stream
///     ...     4      Adler-32 of the content, big-endian
///
/// The pieces always come from zlib: libdeflate makes whole streams only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace TyrQbf {

/// Receives bytes in parts, in order.
using Sink = std::function<void(const unsigned char* bytes, std::size_t count)>;

/// Compressed bytes that are not in memory. One of the functions is called, at most once.
struct PieceSource {
    std::uint64_t size = 0;
    std::function<std::vector<unsigned char>()> load{}; ///< all bytes
    std::function<void(const Sink&)> read{};            ///< passes all bytes to a sink
};

/// Compressed bytes, and what an assembly needs to know of their content. Several pieces with their
/// bytes one after the other are one piece.
struct DeflatePiece {
    /// Number of compressed bytes.
    std::uint64_t Size() const { return source != nullptr ? source->size : bytes.size(); }

    /// Adds the length and the checksum of the content that follows; the caller adds its bytes.
    void AppendContent(std::uint64_t length, std::uint32_t adler32);

    std::vector<unsigned char> bytes{};
    std::uint64_t contentLength = 0;
    std::uint32_t checksum = 1;                  ///< Adler-32 of the content
    std::shared_ptr<const PieceSource> source{}; ///< if not null, it has the bytes
};

enum class PieceEnd {
    Flush, ///< an empty stored block, as by `Z_SYNC_FLUSH`: another piece follows
    Final  ///< the end of the deflate stream
};

/// Compresses the `length` bytes from `content` on, and replaces `piece`.
/// @param level 0 to 9, as in zlib
/// @param dictionarySize bytes before `content` to which the piece may refer; at most 32 KiB
/// @throws MemoryAllocationException
/// @throws MiscelleneousException "Unable to compress block": invalid level, or 2^31 bytes or more
void CompressPiece(const unsigned char* content, std::size_t length, std::int32_t level,
                   PieceEnd end, std::size_t dictionarySize, DeflatePiece& piece);

/// Makes one zlib stream of pieces.
class ZlibAssembly {
public:
    /// Bytes of the stream besides those of the pieces, with an `End`.
    static constexpr std::uint32_t overhead = 8;

    /// Passes on the header.
    /// @param receiver receives the stream; must live as long as this object
    ZlibAssembly(std::int32_t level, const Sink& receiver);

    /// Passes on the bytes of the next piece.
    void Add(const DeflatePiece& piece);

    /// Ends the deflate stream if the last piece did not.
    void End();

    /// Passes on the checksum. Nothing may follow.
    void Finish();

private:
    const Sink& sink;
    DeflatePiece whole; ///< without bytes
};

} // namespace TyrQbf
