/// @file
/// The part of `Index` that writes blocks and tables to the file.
#include "tyr/log/logsystem.hpp"
#include "tyr/platform/platform.hpp"
#include "tyr/qbf/blockzlibcompressor.hpp"
#include "tyr/qbf/chunkedcompressor.hpp"
#include "tyr/qbf/coding.hpp"
#include "tyr/qbf/index.hpp"
#include "tyr/qbf/indextable.hpp"
#include "tyr/qbf/zlibstream.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace TyrQbf {

namespace {

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

/// Bytes that follow each other in the file, their number and, if asked, their CRC-32.
class StoredBytes {
public:
    StoredBytes(std::FILE* file, bool withCrc) : stream(file), hasCrc(withCrc) {}

    void Write(const unsigned char* bytes, std::size_t count) {
        if (std::fwrite(bytes, count, 1, stream) != 1) {
            TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
        }
        if (hasCrc) {
            crc = Crc32(crc, bytes, count);
        }
        length += count;
        if (length > std::numeric_limits<std::uint32_t>::max()) {
            TYR_RAISE(Tyr::Exception::OverflowError());
        }
    }

    std::uint64_t length = 0;
    std::uint32_t crc = 0;

private:
    std::FILE* stream;
    bool hasCrc;
};

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

void Index::WriteBufferToFileStream(std::uint64_t number, std::FILE* stream) {
    const char* const function = "TyrQbf::Index::WriteBufferToFileStream";
    IndexEntry& entry = entries[number];
    Block& block = blocks[number];
    TYR_LOG(function, "Writing buffer " << number << " to stream.");
    if (entry.frozen) {
        TYR_RAISE(Tyr::Exception::InvalidObjectState());
    }
    if (observer) {
        unwrittenBlocks.reserve(unwrittenBlocks.size() + 1);
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
    StoredBytes stored(stream, static_cast<bool>(observer));
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

} // namespace TyrQbf
