#include "tyr/qbf/index.hpp"

#include "tyr/log/logsystem.hpp"
#include "tyr/platform/platform.hpp"
#include "tyr/qbf/blockzlibcompressor.hpp"
#include "tyr/qbf/chunkedcompressor.hpp"
#include "tyr/qbf/coding.hpp"
#include "tyr/qbf/indextable.hpp"
#include "tyr/qbf/zlibstream.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

namespace TyrQbf {

namespace {

constexpr std::uint32_t lengthFieldSize = 4;
constexpr auto indexBlockLimit = static_cast<std::uint32_t>(TableSize(indexBlockEntries));

/// Reserves memory for `count` more elements, so that appending them cannot fail. The capacity at
/// least doubles when it grows.
template <class T>
void MakeRoomFor(std::vector<T>& elements, std::uint64_t count) {
    const std::size_t needed = elements.size() + static_cast<std::size_t>(count);
    if (needed > elements.capacity()) {
        elements.reserve(std::max(needed, 2 * elements.capacity()));
    }
}

/// A block on the stack that frees its buffer, unless the buffer is taken.
class LocalBlock {
public:
    LocalBlock() = default;
    LocalBlock(const LocalBlock&) = delete;
    LocalBlock& operator=(const LocalBlock&) = delete;
    ~LocalBlock() { block.Release(); }

    Block Take() { return std::exchange(block, Block{}); }

    Block block{};
};

Tyr::Exception::FileWriteException PositioningError() {
    return Tyr::Exception::FileWriteException("Saving the buffer failed");
}

/// Writes a block at a position of the file, after its length if asked.
/// @return false if the position cannot be set; the caller raises, since an exception names the
///     operation that it was raised from
/// @throws FileWriteException "Unable to write to file"
[[nodiscard]] bool WriteAt(std::FILE* stream, std::uint64_t position, const Block& block,
                           bool withLength = false) {
    if (!Tyr::Platform::seekTo(stream, position)) {
        return false;
    }
    block.Write(stream, withLength);
    return true;
}

/// Bytes that follow each other in the file, their number and CRC-32.
class StoredBytes {
public:
    explicit StoredBytes(std::FILE* file) : stream(file) {}

    void Write(const unsigned char* bytes, std::size_t count) {
        if (std::fwrite(bytes, count, 1, stream) != 1) {
            TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
        }
        crc = Crc32(crc, bytes, count);
        length += count;
        if (length > std::numeric_limits<std::uint32_t>::max()) {
            TYR_RAISE(Tyr::Exception::OverflowError());
        }
    }

    std::uint64_t length = 0;
    std::uint32_t crc = 0;

private:
    std::FILE* stream;
};

/// The same piece with its bytes in memory.
SharedPiece Loaded(const DeflatePiece& piece) {
    auto loaded = std::make_shared<DeflatePiece>();
    loaded->bytes = piece.source->load();
    loaded->AppendContent(piece.contentLength, piece.checksum);
    return loaded;
}

/// The zlib stream of a block of pieces.
void Assemble(const std::vector<SharedPiece>& pieces, std::int32_t level, const Sink& sink) {
    ZlibAssembly stream(level, sink);
    for (const SharedPiece& piece : pieces) {
        stream.Add(*piece);
    }
    stream.End();
    stream.Finish();
}

} // namespace

Index::~Index() {
    for (Block& block : blocks) {
        block.Release();
    }
}

void Index::Put(const std::string& name, const void* const& bytes, std::uint64_t size) {
    const std::uint32_t addedLength = EncodedCount(size);
    const BlockNumber number = GetCurrentBlock(name);
    if (entries[number].frozen) {
        TYR_RAISE(Tyr::Exception::KeyNotFound());
    }
    unsigned char* const target = Extend(name, number, addedLength);
    if (size != 0) {
        std::memcpy(target, bytes, size);
    }
}

void Index::Put(const std::string& name, std::uint64_t size,
                const std::function<void(unsigned char*)>& fill) {
    const std::uint32_t addedLength = EncodedCount(size);
    const BlockNumber number = GetCurrentBlock(name);
    if (entries[number].frozen) {
        TYR_RAISE(Tyr::Exception::KeyNotFound());
    }
    fill(Extend(name, number, addedLength));
}

void Index::PutPiece(const std::string& name, const SharedPiece& piece) {
    const std::uint32_t addedLength = EncodedCount(piece->contentLength);
    const BlockNumber number = GetBlockForPiece(name, *piece);
    Block& block = blocks[number];
    std::vector<SharedPiece>& pieces = packedBlocks[number];
    if (pieces.empty()) {
        block.Release();
        block.capacity = 0;
    }
    pieces.push_back(piece);
    entries[number].flags |= FlagCompress;
    block.capacity += piece->Size();
    block.position += addedLength;
    block.length = block.position;
}

void Index::PutPieceFromSource(const std::string& name, const SharedPiece& piece,
                               std::FILE* stream) {
    PutPiece(name, piece);
    const BlockSizeLimiter& limiter = GetBlockSizeLimiter(name);
    const BlockNumber number = limiter.blockNumbers.back();
    try {
        if (blocks[number].length < limiter.limit) {
            packedBlocks[number].back() = Loaded(*piece);
        } else {
            SetBlockFlags(name, FlagFreeze);
            FlushFrozen(stream);
        }
    } catch (...) {
        if (!entries[number].frozen) {
            RemoveLastPiece(number);
        }
        throw;
    }
}

void Index::RemoveLastPiece(BlockNumber number) {
    Block& block = blocks[number];
    std::vector<SharedPiece>& pieces = packedBlocks[number];
    block.capacity -= pieces.back()->Size();
    block.position -= static_cast<std::uint32_t>(pieces.back()->contentLength);
    block.length = block.position;
    pieces.pop_back();
    if (pieces.empty()) {
        packedBlocks.erase(number);
    }
}

/// The current block of `name` if it has no bytes and lengths of 32 bits suffice, otherwise a new
/// one.
Index::BlockNumber Index::GetBlockForPiece(const std::string& name, const DeflatePiece& piece) {
    constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    std::uint64_t storedLength = lengthFieldSize + ZlibAssembly::overhead + piece.Size();
    if (storedLength > largest) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }
    const BlockSizeLimiter* const limiter = FindLimiter(name);
    if (!IsOpen(limiter)) {
        return AddBlock(name);
    }
    const BlockNumber last = limiter->blockNumbers.back();
    const Block& block = blocks[last];
    if (!HasPieces(last)) {
        return block.length == 0 ? last : AddBlock(name);
    }
    storedLength += block.capacity;
    const bool hasRoom = storedLength <= largest && piece.contentLength <= largest - block.length;
    return hasRoom ? last : AddBlock(name);
}

/// Extends the current block `number` of `name`, or a new block if it would exceed 2^32 bytes.
unsigned char* Index::Extend(const std::string& name, BlockNumber number, std::uint32_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max() - blocks[number].position) {
        number = AddBlock(name);
    }
    return blocks[number].Extend(size);
}

std::uint64_t Index::GetDataLength(const std::string& name) {
    BlockSizeLimiter* const limiter = FindLimiter(name);
    if (limiter == nullptr || limiter->blockNumbers.empty()) {
        return 0;
    }
    // only the last block can still grow
    const std::vector<BlockNumber>& numbers = limiter->blockNumbers;
    BlockProgress& progress = limiter->progress;
    for (; progress.summedBlocks + 1 < numbers.size(); ++progress.summedBlocks) {
        progress.summedLength += ContentLength(numbers[progress.summedBlocks]);
    }
    return progress.summedLength + ContentLength(numbers.back());
}

void Index::SetBlockFlags(const std::string& name, unsigned char flags) {
    const auto found = limiters.find(name);
    if (found == limiters.end()) {
        return;
    }
    // blocks with the flags come first, since a call sets them in all blocks that exist
    const std::vector<BlockNumber>& numbers = found->second.blockNumbers;
    for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
        IndexEntry& entry = entries[*number];
        if ((entry.flags & flags) == flags) {
            break;
        }
        entry.flags |= flags;
    }
}

void Index::FlushFrozen(std::FILE* stream) {
    const char* const function = "TyrQbf::Index::FlushFrozen";
    TYR_LOG_WITH(flushLines, function, "Flushing frozen blocks ... ");
    WriteUnwrittenBlocks(stream);
    for (auto& [name, limiter] : limiters) {
        if (!IsEmptyBlock(name) && !IsIndexBlock(name)) {
            FlushFrozen(limiter, stream);
        }
    }
    TYR_LOG_WITH(flushLines, function, "Frozen blocks flushed. ");
}

void Index::FlushFrozen(BlockSizeLimiter& limiter, std::FILE* stream) {
    const std::vector<BlockNumber>& numbers = limiter.blockNumbers;
    std::size_t& next = limiter.progress.frozenBlocks;
    for (; next < numbers.size(); ++next) {
        const BlockNumber number = numbers[next];
        if (entries[number].frozen) {
            continue;
        }
        // Flags are set in all blocks of a name, and only the last block can take data. So if
        // this block is not due, none after it is.
        const bool takesData = next + 1 == numbers.size() && blocks[number].length < limiter.limit;
        if ((entries[number].flags & FlagFreeze) == 0 || takesData) {
            return;
        }
        if (!AreLowerBlocksSettled(number)) {
            TYR_RAISE(Tyr::Exception::NotYetImplemented());
        }
        WriteBufferToFileStream(number, stream);
    }
}

bool Index::AreLowerBlocksSettled(BlockNumber number) {
    while (settledBlocks < number && IsSettled(settledBlocks)) {
        ++settledBlocks;
    }
    return settledBlocks >= number;
}

bool Index::IsSettled(BlockNumber number) const {
    return entries[number].frozen || IsIndexBlock(entries[number].name);
}

void Index::WriteAllBuffersToFileStream(std::FILE* stream) {
    TYR_LOG("TyrQbf::Index::WriteAllBuffersToFileStream", "Writing all buffers to file stream ...");
    WriteUnwrittenBlocks(stream);
    if (pendingWrites != 0) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
    }
    BlockNumber first = 0;
    while (first < entries.size() && IsSettled(first)) {
        ++first;
    }
    for (BlockNumber number = first; number < entries.size(); ++number) {
        WriteBufferToFileStream(number, stream);
    }

    LocalBlock firstTable;
    const std::uint64_t count = std::min<std::uint64_t>(firstTableEntries, entries.size());
    WriteEntries(firstTable.block, 0, count);
    if (!WriteAt(stream, firstTablePosition, firstTable.block, true)) {
        TYR_RAISE(PositioningError());
    }

    const auto indexBlocks = limiters.find(IndexBlockName);
    if (indexBlocks != limiters.end()) {
        for (const BlockNumber number : indexBlocks->second.blockNumbers) {
            WriteIndexBufferToFileStream(number, stream);
        }
    }
    TYR_LOG("TyrQbf::Index::WriteAllBuffersToFileStream", "All buffers to file stream written.");
}

Index::BlockNumber Index::GetCurrentBlock(const std::string& name) {
    const BlockSizeLimiter* const limiter = FindLimiter(name);
    if (IsOpen(limiter) && !HasPieces(limiter->blockNumbers.back())) {
        return limiter->blockNumbers.back();
    }
    return AddBlock(name);
}

/// Whether the last block of a name takes data. A name without a block has no limiter, or one
/// without numbers.
bool Index::IsOpen(const BlockSizeLimiter* limiter) const {
    if (limiter == nullptr || limiter->blockNumbers.empty()) {
        return false;
    }
    const BlockNumber last = limiter->blockNumbers.back();
    return !entries[last].frozen && blocks[last].length < limiter->limit;
}

/// All that can fail comes before the changes of the lists, so that no number is lost.
Index::BlockNumber Index::AddBlock(const std::string& name) {
    if (entries.empty()) {
        firstTableLength = ReserveEntries(firstTableEntries) + lengthFieldSize;
    }
    std::vector<BlockNumber>& freeNumbers = GetBlockSizeLimiter(EmptyBlockName).blockNumbers;
    if (freeNumbers.empty()) {
        TYR_RAISE(Tyr::Exception::InvalidObjectState("This point should not be reached"));
    }
    std::vector<BlockNumber>& numbers = limiters.try_emplace(name).first->second.blockNumbers;
    MakeRoomFor(numbers, 1);
    if (IsIndexBlockNumber(freeNumbers.back())) {
        OpenIndexBlock(freeNumbers.back());
    }
    const BlockNumber number = freeNumbers.back();
    entries[number].name = name;
    numbers.push_back(number);
    freeNumbers.pop_back();
    return number;
}

/// Makes the lowest free number an index block and adds the 200 numbers that its table describes,
/// unless an earlier call has added them and failed afterwards. The table is put now to give the
/// block its size and is overwritten at the end.
void Index::OpenIndexBlock(BlockNumber number) {
    if (entries.size() == number + 1) {
        ReserveEntries(indexBlockEntries);
    }
    BlockSizeLimiter& indexBlocks =
        limiters.try_emplace(IndexBlockName, indexBlockLimit).first->second;
    MakeRoomFor(indexBlocks.blockNumbers, 1);
    LocalBlock table;
    WriteEntries(table.block, number + 1, indexBlockEntries);

    entries[number].name = IndexBlockName;
    blocks[number] = table.Take();
    entries[number].storedLength = blocks[number].length;
    GetBlockSizeLimiter(EmptyBlockName).blockNumbers.pop_back();
    indexBlocks.blockNumbers.push_back(number);
    SetBlockFlags(IndexBlockName, FlagFreeze);
    ComputePosition(number);
}

std::uint64_t Index::ReserveEntries(std::uint64_t count) {
    MakeRoomFor(entries, count);
    MakeRoomFor(blocks, count);
    std::vector<BlockNumber>& freeNumbers =
        limiters.try_emplace(EmptyBlockName).first->second.blockNumbers;
    MakeRoomFor(freeNumbers, count);
    for (std::uint64_t i = 0; i < count; ++i) {
        AddEntry(EmptyBlockName);
    }
    std::reverse(freeNumbers.begin(), freeNumbers.end());
    return TableSize(count);
}

Index::BlockNumber Index::AddEntry(const std::string& name) {
    const BlockNumber number = entries.size();
    IndexEntry entry;
    entry.id = nextEntryId;
    entry.name = name;
    entries.push_back(entry);
    blocks.emplace_back();
    limiters.try_emplace(name).first->second.blockNumbers.push_back(number);
    ++nextEntryId;
    return number;
}

BlockSizeLimiter& Index::GetBlockSizeLimiter(const std::string& name) {
    BlockSizeLimiter* const limiter = FindLimiter(name);
    if (limiter == nullptr) {
        TYR_RAISE(Tyr::Exception::KeyNotFound());
    }
    return *limiter;
}

/// The current block of `name` if `size` more bytes do not exceed its limit, otherwise null.
Block* Index::FindBlockWithRoom(const std::string& name, std::uint64_t size) {
    const BlockSizeLimiter* const limiter = FindLimiter(name);
    if (limiter == nullptr || limiter->blockNumbers.empty()) {
        return nullptr;
    }
    const BlockNumber last = limiter->blockNumbers.back();
    const bool hasRoom =
        !entries[last].frozen && !HasPieces(last) && blocks[last].length + size <= limiter->limit;
    return hasRoom ? &blocks[last] : nullptr;
}

/// Null if there is none. Consecutive calls mostly ask for the same name.
BlockSizeLimiter* Index::FindLimiter(const std::string& name) {
    if (foundLast == limiters.end() || foundLast->first != name) {
        foundLast = limiters.find(name);
    }
    return foundLast != limiters.end() ? &foundLast->second : nullptr;
}

void Index::WriteBufferToFileStream(std::uint64_t number, std::FILE* stream) {
    const char* const function = "TyrQbf::Index::WriteBufferToFileStream";
    IndexEntry& entry = entries[number];
    Block& block = blocks[number];
    TYR_LOG(function, "Writing buffer " << number << " to stream.");
    if (entry.frozen) {
        TYR_RAISE(Tyr::Exception::InvalidObjectState());
    }
    if (observer) {
        MakeRoomFor(unwrittenBlocks, 1);
    }
    const std::uint32_t raw = block.length;
    if (raw != 0) {
        TYR_LOG(function, "Buffer length: " << raw);
    }
    if ((entry.flags & FlagCompress) != 0) {
        if (const auto packed = packedBlocks.find(number); packed != packedBlocks.end()) {
            WriteInParts(number, stream,
                         [&](const Sink& sink) { Assemble(packed->second, level, sink); });
            packedBlocks.erase(packed);
            return;
        }
        if (parallelFor) {
            WriteInParts(number, stream, [&](const Sink& sink) {
                ChunkedCompressor(parallelFor, level)(block.data, block.length, sink);
            });
            return;
        }
        BlockZlibCompressor compress(level);
        compress(block);
        TYR_LOG(function, "Buffer length after transformations: " << block.length);
    }
    ++pendingWrites;
    entry.rawLength = raw;
    SetWritten(number, block.length);
    TYR_LOG(function, "Writing buffer at position: " << entry.position);
    if (observer) {
        unwrittenBlocks.push_back(number);
    }
    if (!WriteStored(number, stream)) {
        TYR_LOG(function, "File positioning failed");
        TYR_RAISE(PositioningError());
    }
    TYR_LOG(function, "Buffer " << number << " written to stream.");
}

/// Writes the stored form of a block and frees its buffer.
/// @return false if the position cannot be set
/// @throws FileWriteException "Unable to write to file"
bool Index::WriteStored(BlockNumber number, std::FILE* stream) {
    const IndexEntry& entry = entries[number];
    Block& block = blocks[number];
    if (!WriteAt(stream, entry.position, block)) {
        return false;
    }
    if (observer) {
        if (std::fflush(stream) != 0) {
            TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
        }
        unwrittenBlocks.pop_back();
        observer(
            {entry.name, number, entry.position, entry.storedLength, entry.rawLength, entry.flags},
            Crc32(0, block.data, entry.storedLength));
    }
    --pendingWrites;
    block.Release();
    return true;
}

/// Sets the stored length of a block, and its position.
void Index::SetWritten(BlockNumber number, std::uint32_t storedLength) {
    IndexEntry& entry = entries[number];
    entry.storedLength = storedLength;
    ComputePosition(number);
    if ((entry.flags & FlagFreeze) != 0) {
        entry.frozen = true;
    } else {
        // from now on the cursor of the block is its compressed length
        BlockProgress& progress = GetBlockSizeLimiter(entry.name).progress;
        progress.summedBlocks = 0;
        progress.summedLength = 0;
    }
}

/// Writes the parts of the zlib stream of a block as `compress` makes them. Nothing of the block
/// changes before the system has accepted all bytes, so the block can be written again after an
/// error. Bytes of earlier writes cannot: their errors stay in the stream.
void Index::WriteInParts(BlockNumber number, std::FILE* stream, const Compression& compress) {
    if (std::fflush(stream) != 0 || std::ferror(stream) != 0) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
    }
    try {
        CompressAndWrite(number, stream, compress);
    } catch (...) {
        std::clearerr(stream);
        throw;
    }
}

void Index::CompressAndWrite(BlockNumber number, std::FILE* stream, const Compression& compress) {
    IndexEntry& entry = entries[number];
    Block& block = blocks[number];
    ComputePosition(number);
    if (!Tyr::Platform::seekTo(stream, entry.position)) {
        TYR_RAISE(PositioningError());
    }
    StoredBytes stored(stream);
    const auto lengthField = LittleEndian(block.length);
    stored.Write(lengthField.data(), lengthField.size());
    compress([&stored](const unsigned char* bytes, std::size_t count) {
        if (count != 0) {
            stored.Write(bytes, count);
        }
    });
    if (std::fflush(stream) != 0) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
    }
    entry.rawLength = block.length;
    block.position = static_cast<std::uint32_t>(stored.length);
    SetWritten(number, block.position);
    if (observer) {
        observer(
            {entry.name, number, entry.position, entry.storedLength, entry.rawLength, entry.flags},
            stored.crc);
    }
    block.Release();
}

/// The order of the blocks does not matter: their positions are known.
void Index::WriteUnwrittenBlocks(std::FILE* stream) {
    while (!unwrittenBlocks.empty()) {
        std::clearerr(stream);
        if (!WriteStored(unwrittenBlocks.back(), stream)) {
            TYR_RAISE(PositioningError());
        }
    }
}

void Index::SetCompression(std::int32_t compressionLevel, ParallelFor tasks) {
    level = compressionLevel;
    parallelFor = std::move(tasks);
}

void Index::SetObserver(BlockObserver blockObserver) { observer = std::move(blockObserver); }

void Index::WriteBlocksOf(const std::string& name, std::FILE* stream) {
    FlushFrozen(stream);
    const BlockSizeLimiter* const limiter = FindLimiter(name);
    if (limiter == nullptr || limiter->blockNumbers.empty()) {
        return;
    }
    const BlockNumber last = limiter->blockNumbers.back();
    if (!entries[last].frozen) { // empty if memory ran out; `close` would write it as well
        WriteBufferToFileStream(last, stream);
    }
}

bool Index::CanAdopt(const StoredBlock& block) const {
    BlockNumber number = 0;
    std::uint64_t position = firstTablePosition + lengthFieldSize + TableSize(firstTableEntries);
    if (!entries.empty()) {
        number = limiters.find(EmptyBlockName)->second.blockNumbers.back();
        position = EndOfBlockBelow(number);
    }
    if (IsIndexBlockNumber(number)) {
        ++number;
        position += indexBlockLimit;
    }
    return block.number == number && block.position == position;
}

void Index::AdoptBlock(const StoredBlock& block) {
    if (!CanAdopt(block)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments());
    }
    const BlockNumber number = AddBlock(block.name);
    IndexEntry& entry = entries[number];
    entry.storedLength = block.storedLength;
    entry.rawLength = block.contentLength;
    entry.flags = block.flags;
    entry.frozen = true;
    ComputePosition(number);
}

void Index::WriteIndexBufferToFileStream(std::uint64_t number, std::FILE* stream) {
    const char* const function = "TyrQbf::Index::WriteIndexBufferToFileStream";
    IndexEntry& entry = entries[number];
    Block& block = blocks[number];
    TYR_LOG(function, "Writing index buffer " << number << " to stream.");
    if (entry.frozen) {
        entry.frozen = false;
        if (!entry.indexReset) {
            block = Block{};
            entry.indexReset = true;
        }
    }
    block.SetPosition(0);
    WriteEntries(block, number + 1, indexBlockEntries);
    entry.storedLength = block.length;
    ComputePosition(number);
    entry.frozen = true;
    if (!WriteAt(stream, entry.position, block)) {
        TYR_RAISE(PositioningError());
    }
    TYR_LOG(function, "Index buffer " << number << " written to stream.");
}

void Index::WriteEntries(Block& block, BlockNumber first, std::uint64_t count) const {
    EncodeTable(block, entries.data() + first, entries.data() + first + count);
}

std::uint64_t Index::ContentLength(BlockNumber number) const {
    return entries[number].frozen ? entries[number].rawLength : blocks[number].position;
}

/// If the block below is an index block, its position is computed again first: the block below
/// that one may not have had its final length when the index block was opened.
void Index::ComputePosition(BlockNumber number) {
    if (number > 0 && IsIndexBlock(entries[number - 1].name)) {
        entries[number - 1].position = EndOfBlockBelow(number - 1);
    }
    entries[number].position = EndOfBlockBelow(number);
}

std::uint64_t Index::EndOfBlockBelow(BlockNumber number) const {
    if (number == 0) {
        return firstTablePosition + firstTableLength;
    }
    return entries[number - 1].position + entries[number - 1].storedLength;
}

} // namespace TyrQbf
