/// @file
/// The index of a container file: named streams of bytes, cut into numbered blocks.
///
/// The file stores no positions. Block n starts where block n-1 ends, and only stored lengths are
/// recorded. So a block can be written only if all blocks below it have their final length.
///
///     offset  width    content
///     0       12       signature and version, written by `QbFile`
///     12      4        length of the first index table, 2784
///     16      2784     first index table: entries of blocks 0 to 19
///     2800    L(0)     block 0
///     ...     L(n)     every further block directly after the one before
#pragma once

#include "tyr/exception/raise.hpp"
#include "tyr/log/linecomposer.hpp"
#include "tyr/qbf/block.hpp"
#include "tyr/qbf/blocksizelimiter.hpp"
#include "tyr/qbf/deflatepiece.hpp"
#include "tyr/qbf/encoding.hpp"
#include "tyr/qbf/indexentry.hpp"
#include "tyr/qbf/parallelfor.hpp"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace TyrQbf {

class Index;

/// Whether `Index::Put` puts a `T` as several values: there is a function
/// `PutSplit(Index&, const std::string& name, const T&)` next to the type, which
/// argument-dependent lookup finds.
template <class T, class = void>
struct IsSplitByPut : std::false_type {};
template <class T>
struct IsSplitByPut<
    T, std::void_t<decltype(PutSplit(std::declval<Index&>(), std::declval<const std::string&>(),
                                     std::declval<const T&>()))>> : std::true_type {};

/// A block in the file.
struct StoredBlock {
    std::string name{};
    std::uint64_t number = 0;
    std::uint64_t position = 0;      ///< in the file
    std::uint32_t storedLength = 0;  ///< in the file
    std::uint32_t contentLength = 0; ///< before transformation
    std::uint8_t flags = 0;
};

/// Called with each block, and the CRC-32 of its stored bytes, after the system has accepted them.
/// Must not throw.
using BlockObserver = std::function<void(const StoredBlock&, std::uint32_t crc)>;

/// A compressed piece, all of whose parts end with `PieceEnd::Flush`; shared with the application.
using SharedPiece = std::shared_ptr<const DeflatePiece>;

/// Assigns block numbers to names, writes full blocks early and the tables at the end.
///
/// Owns the buffers of all blocks. Exceptions of `Block` pass through. If writing a block fails
/// early, its content is lost and the file cannot be finished: `WriteAllBuffersToFileStream` then
/// raises. After that operation has begun, no other may follow, whether it raises or not.
class Index {
public:
    Index() = default;
    Index(const Index&) = delete;
    Index& operator=(const Index&) = delete;
    ~Index();

    /// Appends `size` bytes under `name`, all of them to one block.
    /// @throws OverflowError 2^32 bytes or more
    void Put(const std::string& name, const void* const& bytes, std::uint64_t size);

    /// Appends a value under `name`. Its `Encode` writes it to one block. A value that has a
    /// `PutSplit` is put as several values, which can be in different blocks.
    template <class T>
    void Put(const std::string& name, const T& value);

    /// Appends `size` bytes under `name`, all of them to one block, without a copy: `fill` is
    /// called with their address, writes all of them and does not throw.
    /// @throws OverflowError 2^32 bytes or more
    void Put(const std::string& name, std::uint64_t size,
             const std::function<void(unsigned char*)>& fill);

    /// Appends the content of a compressed piece under `name`, all of it to one block. A block
    /// holds either pieces or bytes: if the last one holds bytes, a new one begins. A block of
    /// pieces has `FlagCompress`. It keeps its pieces until the system has accepted all stored
    /// bytes: after an error the next operation that writes begins again.
    /// @throws OverflowError content or compressed bytes do not fit 32-bit lengths
    void PutPiece(const std::string& name, const SharedPiece& piece);

    /// The same for a piece with a `source`. If its block takes no more data afterwards, the block
    /// is written at once and the bytes are read in parts; otherwise they are loaded. After an
    /// error the piece is not part of the block.
    /// @throws FileWriteException "Saving the buffer failed", "Unable to write to file"
    /// @throws NotYetImplemented as `FlushFrozen`; exceptions of the source pass through
    void PutPieceFromSource(const std::string& name, const SharedPiece& piece, std::FILE* stream);

    /// Appends numbers and strings; the same as one `Put` for each.
    template <class... T>
    void PutEach(const std::string& name, const T&... values);

    /// Bytes of content of the stream of `name` so far: the offset of the next `Put`.
    std::uint64_t GetDataLength(const std::string& name);

    /// Adds flags to all blocks that have this name now; later ones start without.
    void SetBlockFlags(const std::string& name, unsigned char flags);

    /// Writes and frees the blocks that have `FlagFreeze` and take no more data.
    /// @throws NotYetImplemented a block below such a block is not in the file
    /// @throws FileWriteException "Saving the buffer failed", "Unable to write to file"
    void FlushFrozen(std::FILE* stream);

    /// Writes all remaining blocks and all index tables.
    /// @throws FileWriteException "Saving the buffer failed", "Unable to write to file"
    void WriteAllBuffersToFileStream(std::FILE* stream);

    /// Sets the observer. With one, each block is flushed when it is written, and a block that
    /// could not be written is kept and written by the next operation that writes.
    void SetObserver(BlockObserver observer);

    /// Sets how blocks are compressed. With tasks, a block is compressed in chunks, and it keeps
    /// its content until the system has accepted all stored bytes: after an error the next
    /// operation that writes begins again.
    void SetCompression(std::int32_t compressionLevel, ParallelFor tasks);

    /// The tasks that were set, for other work; may be empty.
    const ParallelFor& Tasks() const { return parallelFor; }

    /// Writes the blocks of `name` that are not written, also one that could take more data; the
    /// next `Put` starts a new block then. All blocks of the name must have `FlagFreeze`.
    /// @throws FileWriteException "Saving the buffer failed", "Unable to write to file"
    void WriteBlocksOf(const std::string& name, std::FILE* stream);

    /// Whether `AdoptBlock` accepts the number and the position of the block.
    bool CanAdopt(const StoredBlock& block) const;

    /// Adds a block whose stored bytes are or will be in the file. Blocks must be adopted in the
    /// order of their numbers, before any `Put`.
    /// @throws InvalidArguments the block cannot have this number or position
    void AdoptBlock(const StoredBlock& block);

private:
    using BlockNumber = std::uint64_t;

    BlockNumber GetCurrentBlock(const std::string& name);
    BlockNumber AddBlock(const std::string& name);
    std::uint64_t ReserveEntries(std::uint64_t count);
    BlockNumber AddEntry(const std::string& name);
    BlockSizeLimiter& GetBlockSizeLimiter(const std::string& name);
    void WriteBufferToFileStream(std::uint64_t number, std::FILE* stream);
    void WriteIndexBufferToFileStream(std::uint64_t number, std::FILE* stream);
    void WriteEntries(Block& block, BlockNumber first, std::uint64_t count) const;

    // Every operation keeps these invariants, also when it raises.
    //
    // Numbers. `entries` and `blocks` have the same size: 0 before the first `Put`, then 20 plus a
    // multiple of 200. Each number is in the list of exactly one limiter, that of its entry's name.
    // A number that gets a name keeps it.
    //
    // Free numbers. They are in the list of `EmptyBlockName`, in descending order, and are greater
    // than all numbers in use. The list is not empty after the first `Put`: before the last number
    // of a table is used, that number becomes an index block and 200 more are added.
    //
    // Names. The list of any other name is ascending. Only its last block can take data, and only
    // if it is not frozen and below the limit.
    //
    // Positions. Block 0 starts after the first table, block n at the end of block n-1. The
    // position of an entry is valid once all lower blocks have their final stored length, and
    // `ComputePosition` is called at that time, before the block is written.
    //
    // Memory. `blocks[n].data` is null while n is free, and again after block n was written. Index
    // blocks keep their buffer for the final table. A block of pieces has no buffer: its length is
    // that of the content, its capacity the number of compressed bytes.

    std::vector<IndexEntry> entries; ///< by block number
    std::vector<Block> blocks;       ///< by block number; owns the buffers
    std::map<std::string, BlockSizeLimiter> limiters;
    std::uint8_t nextEntryId = 1;          ///< wraps from 255 to 0
    std::uint64_t firstTablePosition = 12; ///< in the file
    std::uint64_t firstTableLength = 0;    ///< 0 before the first `Put`, then 2788

    unsigned char* Extend(const std::string& name, BlockNumber number, std::uint32_t size);
    Block* FindBlockWithRoom(const std::string& name, std::uint64_t size);
    BlockSizeLimiter* FindLimiter(const std::string& name);
    void OpenIndexBlock(BlockNumber number);
    void FlushFrozen(BlockSizeLimiter& limiter, std::FILE* stream);
    bool AreLowerBlocksSettled(BlockNumber number);
    bool IsSettled(BlockNumber number) const;
    std::uint64_t ContentLength(BlockNumber number) const;
    void ComputePosition(BlockNumber number);
    std::uint64_t EndOfBlockBelow(BlockNumber number) const;

    /// The limiter that the last lookup found, or the end. Limiters are never removed, so the
    /// iterator remains valid.
    std::map<std::string, BlockSizeLimiter>::iterator foundLast = limiters.end();

    /// All numbers below this one are settled: frozen, or index blocks, whose length is fixed.
    /// Settled blocks remain settled, so the count only grows.
    BlockNumber settledBlocks = 0;

    /// Blocks that count as written although the stream has not accepted their bytes. It is 0
    /// between two calls; after a failed write it stays above 0 and the file cannot be finished.
    std::uint64_t pendingWrites = 0;

    Tyr::Log::LineComposer flushLines;

    [[nodiscard]] bool WriteStored(BlockNumber number, std::FILE* stream);
    void WriteUnwrittenBlocks(std::FILE* stream);

    BlockObserver observer;

    using Compression = std::function<void(const Sink&)>;

    void WriteInParts(BlockNumber number, std::FILE* stream, const Compression& compress);
    void CompressAndWrite(BlockNumber number, std::FILE* stream, const Compression& compress);
    void SetWritten(BlockNumber number, std::uint32_t storedLength);
    bool IsOpen(const BlockSizeLimiter* limiter) const;
    bool HasPieces(BlockNumber number) const { return packedBlocks.count(number) != 0; }
    BlockNumber GetBlockForPiece(const std::string& name, const DeflatePiece& piece);
    void RemoveLastPiece(BlockNumber number);

    /// The pieces of each block that has pieces and is not written.
    std::map<BlockNumber, std::vector<SharedPiece>> packedBlocks;

    std::int32_t level = 6; ///< of compression
    ParallelFor parallelFor;

    /// With an observer: blocks that have their final form and could not be written.
    std::vector<BlockNumber> unwrittenBlocks;
};

template <class T>
void Index::Put(const std::string& name, const T& value) {
    if constexpr (IsSplitByPut<T>::value) {
        PutSplit(*this, name, value);
    } else {
        const BlockNumber number = GetCurrentBlock(name);
        if (entries[number].frozen) {
            TYR_RAISE(
                Tyr::Exception::MiscelleneousException("Attempt to write into a frozen block"));
        }
        Encode(blocks[number], value);
    }
}

/// Each value has at least one byte. So if all of them fit below the limit of the block, the block
/// is below its limit before each of them, and separate `Put`s would use the same block.
template <class... T>
void Index::PutEach(const std::string& name, const T&... values) {
    const std::uint64_t size = (EncodedSize(values) + ...);
    Block* const block = FindBlockWithRoom(name, size);
    if (block == nullptr) {
        (Put(name, values), ...);
        return;
    }
    unsigned char* target = block->Extend(static_cast<std::uint32_t>(size));
    ((target = EncodeTo(target, values)), ...);
}

} // namespace TyrQbf
