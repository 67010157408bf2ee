#include "tyr/qbf/index.hpp"

#include "tyr/log/logsystem.hpp"
#include "tyr/platform/platform.hpp"
#include "tyr/qbf/blockzlibcompressor.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace TyrQbf {

const std::string EmptyBlockName =
    "\x0B"
    "Empty Block ";
const std::string IndexBlockName =
    "\x0B"
    "Index Block ";

namespace {

constexpr std::uint64_t firstTableEntries = 20;
constexpr std::uint64_t indexBlockEntries = 200;
constexpr std::uint32_t countFieldSize = 4;
constexpr std::uint32_t lengthFieldSize = 4;
constexpr std::uint32_t nameFieldSize = 128;
constexpr std::uint32_t entrySize = 1 + 4 + nameFieldSize + 4 + 1 + 1;
constexpr std::uint32_t indexBlockSize = countFieldSize + entrySize * indexBlockEntries;
constexpr std::int32_t compressionLevel = 6;

/// Numbers 19, 219, 419 and so on: the last entry of each table is the next table.
bool IsIndexBlockNumber(std::uint64_t number) {
    return number % indexBlockEntries == firstTableEntries - 1;
}

/// Makes sure that `count` elements can be appended without an allocation, and keeps growth
/// geometric.
template <class T>
void MakeRoomFor(std::vector<T>& elements, std::uint64_t count) {
    const std::size_t needed = elements.size() + static_cast<std::size_t>(count);
    if (needed > elements.capacity()) {
        elements.reserve(std::max(needed, 2 * elements.capacity()));
    }
}

/// A block on the stack that frees its buffer, or hands it on as a plain `Block`.
class LocalBlock {
public:
    LocalBlock() = default;
    LocalBlock(const LocalBlock&) = delete;
    LocalBlock& operator=(const LocalBlock&) = delete;
    ~LocalBlock() { block.Release(); }

    Block HandOver() {
        const Block handedOver = block;
        block = Block{};
        return handedOver;
    }

    Block block{};
};

} // namespace

bool IsEmptyBlock(const std::string& name) {
    return name.compare(0, EmptyBlockName.size(), EmptyBlockName) == 0;
}

bool IsIndexBlock(const std::string& name) {
    return name.compare(0, IndexBlockName.size(), IndexBlockName) == 0;
}

Index::~Index() {
    for (Block& block : blocks) {
        block.Release();
    }
}

void Index::Put(const std::string& name, const void* const& bytes, std::uint64_t size) {
    unsigned char* const target = Extend(name, size);
    if (size != 0) {
        std::memcpy(target, bytes, size);
    }
}

unsigned char* Index::Extend(const std::string& name, std::uint64_t size) {
    const std::uint32_t addedLength = EncodedCount(size);
    BlockNumber number = GetCurrentBlock(name);
    if (entries[number].frozen) {
        TYR_RAISE(Tyr::Exception::KeyNotFound());
    }
    if (size > std::numeric_limits<std::uint32_t>::max() - blocks[number].position) {
        number = AddBlock(name);
    }
    return blocks[number].Extend(addedLength);
}

std::uint64_t Index::GetDataLength(const std::string& name) {
    BlockSizeLimiter* const limiter = FindLimiter(name);
    if (limiter == nullptr || limiter->blockNumbers.empty()) {
        return 0;
    }
    // all blocks but the last take no more data
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
    // what has the flags already is at the beginning, since every block gets them that is there
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
        // Flags are given to all blocks of a name and only the last block can have room, so
        // that no block behind one that is not due can be due.
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
    WriteEntries(firstTable.block, entries.data(), entries.data() + count);
    if (!Tyr::Platform::seekTo(stream, firstTablePosition)) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Saving the buffer failed"));
    }
    firstTable.block.Write(stream, true);

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
    if (limiter != nullptr && !limiter->blockNumbers.empty()) {
        const BlockNumber last = limiter->blockNumbers.back();
        if (!entries[last].frozen && blocks[last].length < limiter->limit) {
            return last;
        }
    }
    return AddBlock(name);
}

/// What can fail comes before what changes a list, so that a number is never lost halfway.
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

/// Turns the lowest free number into an index block and adds the 200 blocks that it describes.
/// The table is put now to give the block its size; its real content comes at the end.
void Index::OpenIndexBlock(BlockNumber number) {
    if (entries.size() == number + 1) {
        ReserveEntries(indexBlockEntries);
    }
    BlockSizeLimiter& indexBlocks =
        limiters.try_emplace(IndexBlockName, indexBlockSize).first->second;
    MakeRoomFor(indexBlocks.blockNumbers, 1);
    LocalBlock table;
    const IndexEntry* const behind = entries.data() + number + 1;
    WriteEntries(table.block, behind, behind + indexBlockEntries);

    entries[number].name = IndexBlockName;
    blocks[number] = table.HandOver();
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
    return countFieldSize + count * entrySize;
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

/// The block that takes data under `name`, if `size` bytes more do not take it past its limit.
Block* Index::FindBlockWithRoom(const std::string& name, std::uint64_t size) {
    const BlockSizeLimiter* const limiter = FindLimiter(name);
    if (limiter == nullptr || limiter->blockNumbers.empty()) {
        return nullptr;
    }
    const BlockNumber last = limiter->blockNumbers.back();
    const bool hasRoom = !entries[last].frozen && blocks[last].length + size <= limiter->limit;
    return hasRoom ? &blocks[last] : nullptr;
}

/// Null if there is none. Values come in runs under one name, so that the one found last is mostly
/// the one that is asked for.
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
    const std::uint32_t raw = block.length;
    if (raw != 0) {
        TYR_LOG(function, "Buffer length: " << raw);
    }
    if ((entry.flags & FlagCompress) != 0) {
        BlockZlibCompressor compress(compressionLevel);
        compress(block);
        TYR_LOG(function, "Buffer length after transformations: " << block.length);
    }
    entry.storedLength = block.length;
    ComputePosition(number);
    ++pendingWrites;
    if ((entry.flags & FlagFreeze) != 0) {
        entry.frozen = true;
        entry.rawLength = raw;
    } else {
        // from now on the cursor of the block tells its compressed length
        BlockProgress& progress = GetBlockSizeLimiter(entry.name).progress;
        progress.summedBlocks = 0;
        progress.summedLength = 0;
    }
    TYR_LOG(function, "Writing buffer at position: " << entry.position);
    if (!Tyr::Platform::seekTo(stream, entry.position)) {
        TYR_LOG(function, "File positioning failed");
        TYR_RAISE(Tyr::Exception::FileWriteException("Saving the buffer failed"));
    }
    block.Write(stream, false);
    --pendingWrites;
    block.Release();
    TYR_LOG(function, "Buffer " << number << " written to stream.");
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
    const IndexEntry* const behind = entries.data() + number + 1;
    WriteEntries(block, behind, behind + indexBlockEntries);
    entry.storedLength = block.length;
    ComputePosition(number);
    entry.frozen = true;
    if (!Tyr::Platform::seekTo(stream, entry.position)) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Saving the buffer failed"));
    }
    block.Write(stream, false);
    TYR_LOG(function, "Index buffer " << number << " written to stream.");
}

void Index::WriteEntries(Block& block, const IndexEntry* first, const IndexEntry* last) const {
    Encode(block, static_cast<std::uint32_t>(last - first));
    for (const IndexEntry* entry = first; entry != last; ++entry) {
        Encode(block, entry->id);
        Encode(block, nameFieldSize);
        auto* const nameField = reinterpret_cast<char*>(block.Extend(nameFieldSize));
        std::strncpy(nameField, entry->name.c_str(), nameFieldSize);
        Encode(block, entry->storedLength);
        Encode(block, entry->flags);
        Encode(block, entry->reserved);
    }
}

std::uint64_t Index::ContentLength(BlockNumber number) const {
    return entries[number].frozen ? entries[number].rawLength : blocks[number].position;
}

/// An index block below may have got its position before the block below that one had its final
/// length, so it is placed anew first.
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
