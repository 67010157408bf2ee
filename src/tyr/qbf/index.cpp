#include "tyr/qbf/index.hpp"

#include "tyr/qbf/indextable.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace TyrQbf {

namespace {

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

/// The same piece with its bytes in memory.
SharedPiece Loaded(const DeflatePiece& piece) {
    auto loaded = std::make_shared<DeflatePiece>();
    loaded->bytes = piece.source->load();
    loaded->AppendContent(piece.contentLength, piece.checksum);
    return loaded;
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
