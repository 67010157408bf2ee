/// @file
/// The ledger of a container file: named streams of bytes, cut into numbered blocks.
///
/// The file stores no positions. Block n starts where block n-1 ends, and only stored lengths are
/// recorded; so a block can only go to the file when all blocks below it are settled.
///
///     offset  width    content
///     0       12       head of the file, written by its owner
///     12      4        length of the first table, 2784
///     16      2784     first table: entries of blocks 0 to 19
///     2800    L(0)     block 0
///     ...     L(n)     every further block directly behind the one before
///
/// A table is a 32-bit count and that many entries. The first has 20; block 19, block 219 and so on
/// are index blocks, each a table of the 200 entries behind its own.
///
///     offset  width    content of an entry (139 bytes)
///     0       1        id
///     1       4        width of the name field, 128
///     5       128      name, filled up with NUL
///     133     4        stored length
///     137     1        flags
///     138     1        reserved, 0
#pragma once

#include "tyr/exception/raise.hpp"
#include "tyr/log/logsystem.hpp"
#include "tyr/qbf/block.hpp"
#include "tyr/qbf/blocksizelimiter.hpp"
#include "tyr/qbf/encoding.hpp"

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace TyrQbf {

constexpr std::uint8_t FlagCompress = 0x01; ///< compressed when it is written
constexpr std::uint8_t FlagFreeze = 0x20;   ///< may be written early and is frozen when written

extern const std::string EmptyBlockName; ///< name of a block number that is not taken yet
extern const std::string IndexBlockName; ///< name of a block that holds a table of entries

bool IsEmptyBlock(const std::string& name);
bool IsIndexBlock(const std::string& name);

/// What is known of one block number.
struct IndexEntry {
    std::uint8_t id = 0;
    std::string name{};
    std::uint64_t position = 0;     ///< in the file; 0 until computed
    std::uint32_t storedLength = 0; ///< in the file, after transformation; 0 until computed
    std::uint8_t flags = 0;
    std::uint8_t reserved = 0;
    bool frozen = false;         ///< went to the file and takes no more data
    bool indexReset = false;     ///< memory of an index block was cleared for its final table
    std::uint32_t rawLength = 0; ///< content before transformation, recorded when frozen
};

/// Hands out block numbers by name, writes full blocks early and the tables at the end.
///
/// Owns the buffers of all blocks. Failures of `Block` pass through. A block whose writing failed
/// early is lost, and the file with it: finishing it fails then. Once finishing has begun, whether
/// it fails or not, no other operation may follow.
class Index {
public:
    Index() = default;
    Index(const Index&) = delete;
    Index& operator=(const Index&) = delete;
    ~Index();

    /// Appends `size` bytes under `name`, all of them to one block.
    /// @throws OverflowError 2^32 bytes or more
    void Put(const std::string& name, const void* const& bytes, std::uint64_t size);

    /// Appends a value under `name`, all of it to one block, in the form of `Encode`.
    template <class T>
    void Put(const std::string& name, const T& value);

    /// Appends numbers and texts as one `Put` after the other does.
    template <class... T>
    void PutEach(const std::string& name, const T&... values);

    /// Makes room for `size` bytes under `name`, all of them in one block.
    /// @return where they stand, to be filled completely by the caller; fails like `Put`
    unsigned char* Extend(const std::string& name, std::uint64_t size);

    /// Bytes of content of the stream of `name` so far: the offset of the next `Put`.
    std::uint64_t GetDataLength(const std::string& name);

    /// Adds flags to all blocks that bear `name` now; later ones start without.
    void SetBlockFlags(const std::string& name, unsigned char flags);

    /// Writes and frees the blocks that have `FlagFreeze` and take no more data.
    /// @throws NotYetImplemented a block below such a one is not in the file
    /// @throws FileWriteException "Saving the buffer failed", "Unable to write to file"
    void FlushFrozen(std::FILE* stream);

    /// Writes all blocks that are left, and all tables.
    /// @throws FileWriteException "Saving the buffer failed", "Unable to write to file"
    void WriteAllBuffersToFileStream(std::FILE* stream);

private:
    using BlockNumber = std::uint64_t;

    BlockNumber GetCurrentBlock(const std::string& name);
    BlockNumber AddBlock(const std::string& name);
    std::uint64_t ReserveEntries(std::uint64_t count);
    BlockNumber AddEntry(const std::string& name);
    BlockSizeLimiter& GetBlockSizeLimiter(const std::string& name);
    void WriteBufferToFileStream(std::uint64_t number, std::FILE* stream);
    void WriteIndexBufferToFileStream(std::uint64_t number, std::FILE* stream);
    void WriteEntries(Block& block, const IndexEntry* first, const IndexEntry* last) const;

    std::vector<IndexEntry> entries; ///< by block number
    std::vector<Block> blocks;       ///< by block number
    std::map<std::string, BlockSizeLimiter> limiters;
    std::uint8_t nextEntryId = 1;
    std::uint64_t firstTablePosition = 12;
    std::uint64_t firstTableLength = 0;

    Block* FindBlockWithRoom(const std::string& name, std::uint64_t size);
    BlockSizeLimiter* FindLimiter(const std::string& name);
    void OpenIndexBlock(BlockNumber number);
    void FlushFrozen(BlockSizeLimiter& limiter, std::FILE* stream);
    bool AreLowerBlocksSettled(BlockNumber number);
    bool IsSettled(BlockNumber number) const;
    std::uint64_t ContentLength(BlockNumber number) const;
    void ComputePosition(BlockNumber number);
    std::uint64_t EndOfBlockBelow(BlockNumber number) const;

    std::map<std::string, BlockSizeLimiter>::iterator foundLast = limiters.end();
    BlockNumber settledBlocks = 0;   ///< leading numbers that are in the file or index blocks
    std::uint64_t pendingWrites = 0; ///< blocks that count as written; stays above 0 on failure
    Tyr::Log::LineComposer flushLines;
};

template <class T>
void Index::Put(const std::string& name, const T& value) {
    const BlockNumber number = GetCurrentBlock(name);
    if (entries[number].frozen) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("Attempt to write into a frozen block"));
    }
    Encode(blocks[number], value);
}

/// Each value takes at least a byte, so that a block which all of them do not take past its limit
/// is below it before each of them.
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
