#include "mekreader/container.hpp"

#include "mekreader/blockerror.hpp"
#include "mekreader/bytecursor.hpp"

#include <zlib.h>

#include <algorithm>

namespace MekReader {

namespace {

constexpr std::string_view signature("\x89QBF\r\n\x1A\n", 8);
constexpr std::string_view formatVersion("1.3\0", 4);
constexpr std::string_view emptyName(
    "\x0B"
    "Empty Block ");
constexpr std::string_view indexName(
    "\x0B"
    "Index Block ");
constexpr std::uint64_t headerSize = 12;
constexpr std::uint64_t firstTableEntries = 20;
constexpr std::uint64_t indexTableEntries = 200;
constexpr std::uint32_t nameSize = 128;
constexpr std::uint64_t entrySize = 139;
constexpr std::uint64_t countSize = 4;
constexpr std::uint64_t nameOffset = 5;
constexpr std::uint64_t flagsOffset = 137;
constexpr std::uint64_t firstTableSize = countSize + firstTableEntries * entrySize;
constexpr std::uint64_t indexTableSize = countSize + indexTableEntries * entrySize;
constexpr std::uint64_t firstBlockPosition = headerSize + countSize + firstTableSize;
constexpr std::uint64_t rawLengthSize = 4;
constexpr std::uint64_t smallestStream = 8; // of no bytes
constexpr std::size_t bufferSize = std::size_t{256} * 1024;

bool isIndexNumber(std::uint64_t number) {
    return number % indexTableEntries == firstTableEntries - 1;
}

bool isAllZero(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == 0; });
}

/// The last entry of a complete table has a name: that of an empty block, or that of an index block
/// and its flags. Zeros mean that the table was not written to its end.
bool isComplete(std::string_view table) {
    const std::string_view entry = table.substr(table.size() - entrySize);
    const std::string_view name = entry.substr(nameOffset, emptyName.size());
    return name.back() != 0 && (name != indexName || entry[flagsOffset] != 0);
}

std::string nameOf(std::string_view field, std::uint64_t number) {
    const std::string_view name = field.substr(0, field.find('\0'));
    if (!isAllZero(field.substr(name.size()))) {
        throw Error("block " + std::to_string(number) + ": the name is not padded with NUL");
    }
    return std::string(name);
}

/// Owns the state of one decompression.
class Inflater {
public:
    Inflater() {
        if (inflateInit(&stream_) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    ~Inflater() { inflateEnd(&stream_); }

    z_stream& operator*() { return stream_; }
    z_stream* operator->() { return &stream_; }

private:
    z_stream stream_{};
};

} // namespace

bool Block::isEmpty() const { return name == emptyName; }
bool Block::isIndex() const { return name == indexName; }

Container::Container(const std::filesystem::path& path) : file_(path, std::ios::binary) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        throw Error("there is no such file");
    }
    if (!file_) {
        throw Error("the file cannot be opened");
    }
    fileSize_ = std::filesystem::file_size(path);
    readHeader();
    readTables();
}

std::string Container::readAt(std::uint64_t position, std::uint64_t size) {
    if (position > fileSize_ || size > fileSize_ - position) {
        throw Error("the file ends before byte " + std::to_string(position + size));
    }
    std::string bytes(size, '\0');
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(position));
    file_.read(bytes.data(), static_cast<std::streamsize>(size));
    if (!file_) {
        throw Error("the file cannot be read at byte " + std::to_string(position));
    }
    return bytes;
}

void Container::readHeader() {
    const std::string header = readAt(0, std::min(fileSize_, headerSize));
    const std::string_view start = std::string_view(header).substr(0, signature.size());
    if (start != signature.substr(0, start.size())) {
        throw Error("not a container: invalid signature");
    }
    const std::string_view version = std::string_view(header).substr(start.size());
    if (version != formatVersion.substr(0, version.size())) {
        throw Error("header: the format version is not 1.3");
    }
    if (fileSize_ < firstBlockPosition) {
        throw Unfinished("it ends before the end of its index");
    }
    const std::string lengths = readAt(headerSize, countSize);
    const std::uint64_t length = littleEndian(lengths, countSize);
    if (length == 0) {
        throw Unfinished("it has no index");
    }
    readTableBytes(headerSize + countSize, firstTableEntries);
    if (length != firstTableSize) {
        throw Error("first table: the length is " + std::to_string(length) + ", expected " +
                    std::to_string(firstTableSize));
    }
}

void Container::readTables() {
    readTable(headerSize + countSize, firstTableEntries);
    while (blocks_.back().isIndex()) {
        const Block& indexBlock = blocks_.back();
        if (indexBlock.storedLength != indexTableSize) {
            fail(indexBlock, "the stored length is " + std::to_string(indexBlock.storedLength) +
                                 ", expected " + std::to_string(indexTableSize));
        }
        readTable(indexBlock.position, indexTableEntries);
    }
    const std::uint64_t end = blocks_.back().position + blocks_.back().storedLength;
    if (end < fileSize_) {
        throw Unfinished(std::to_string(fileSize_ - end) +
                         " bytes follow the last block of the index");
    }
}

std::string Container::readTableBytes(std::uint64_t position, std::uint64_t count) {
    std::string table = readAt(position, countSize + count * entrySize);
    const std::string description = "the table at byte " + std::to_string(position);
    if (isAllZero(table)) {
        throw Unfinished(description + " was not written");
    }
    if (!isComplete(table)) {
        throw Unfinished(description + " is incomplete");
    }
    return table;
}

void Container::readTable(std::uint64_t position, std::uint64_t count) {
    const std::string table = readTableBytes(position, count);
    ByteCursor cursor(table, "table at byte " + std::to_string(position));
    if (cursor.u32("number of entries") != count) {
        cursor.fail("the number of entries is not " + std::to_string(count));
    }
    const std::size_t first = blocks_.size();
    for (std::uint64_t i = 0; i < count; ++i) {
        Block block;
        block.number = blocks_.size();
        block.id = cursor.u8("id");
        if (cursor.u32("width of the name") != nameSize) {
            fail(block, "the width of the name is not " + std::to_string(nameSize));
        }
        const std::string_view nameField = cursor.take(nameSize, "name");
        block.storedLength = cursor.u32("stored length");
        block.flags = cursor.u8("flags");
        if (cursor.u8("reserved byte") != 0) {
            fail(block, "the reserved byte is not 0");
        }
        // until it is rewritten at the end, a table lists all blocks as empty, without length and
        // flags
        const bool isNamed = nameField.substr(0, emptyName.size()) != emptyName;
        if (first > 0 && isNamed && block.storedLength == 0 && block.flags == 0) {
            throw Unfinished("the table at byte " + std::to_string(position) + " is incomplete");
        }
        block.name = nameOf(nameField, block.number);
        checkEntry(block);
        placeBlock(block);
        if (!block.isEmpty() && !block.isIndex()) {
            Stream& stream = streams_[block.name];
            stream.blocks.push_back({stream.length, block.number});
            stream.length += block.rawLength;
        }
        blocks_.push_back(block);
    }
    // a table is created together with the next block, and lists it as empty until the end
    if (first > 0 && blocks_[first].isEmpty()) {
        throw Unfinished("the table at byte " + std::to_string(position) + " was not updated");
    }
}

void Container::placeBlock(Block& block) {
    block.position = blocks_.empty() ? firstBlockPosition
                                     : blocks_.back().position + blocks_.back().storedLength;
    if (block.storedLength > fileSize_ - block.position) {
        throw Unfinished(describe(block) + " ends after the end of the file");
    }
    readRawLength(block);
}

void Container::readRawLength(Block& block) {
    if (!block.isCompressed()) {
        block.rawLength = block.storedLength;
        return;
    }
    if (block.storedLength < rawLengthSize + smallestStream) {
        fail(block, "it is too short for a compressed block");
    }
    block.rawLength =
        static_cast<std::uint32_t>(littleEndian(readAt(block.position, rawLengthSize), 4));
}

void Container::checkEntry(const Block& block) const {
    if (block.id != ((block.number + 1) & 0xFF)) {
        fail(block, "the id is " + std::to_string(block.id));
    }
    if ((block.flags & ~(Block::compressFlag | Block::freezeFlag)) != 0) {
        fail(block, "it has unknown flags");
    }
    if (block.isEmpty()) {
        if (block.storedLength != 0 || block.flags != 0) {
            fail(block, "it is empty but has a length or flags");
        }
        return;
    }
    if (!blocks_.empty() && blocks_.back().isEmpty()) {
        fail(block, "it is used but the block before it is empty");
    }
    if (block.isIndex() != isIndexNumber(block.number)) {
        fail(block,
             block.isIndex() ? "it must not be an index block" : "it must be an index block");
    }
    if (block.isIndex() && block.flags != Block::freezeFlag) {
        fail(block, "invalid flags of an index block");
    }
}

std::uint64_t Container::streamLength(std::string_view name) const {
    const auto found = streams_.find(name);
    return found == streams_.end() ? 0 : found->second.length;
}

std::string Container::stream(std::string_view name) {
    std::string content;
    const auto found = streams_.find(name);
    if (found != streams_.end()) {
        for (const StreamBlock& streamBlock : found->second.blocks) {
            readContent(blocks_[streamBlock.blockNumber],
                        [&content](std::string_view bytes) { content += bytes; });
        }
    }
    return content;
}

const Container::StreamBlock* Container::findBlock(std::string_view name, std::uint64_t offset,
                                                   std::uint64_t size) const {
    const auto found = streams_.find(name);
    if (found == streams_.end()) {
        return nullptr;
    }
    const std::vector<StreamBlock>& streamBlocks = found->second.blocks;
    const auto following = std::upper_bound(
        streamBlocks.begin(), streamBlocks.end(), offset,
        [](std::uint64_t at, const StreamBlock& block) { return at < block.start; });
    const StreamBlock& candidate = *std::prev(following); // the first one starts at 0
    const std::uint64_t offsetInBlock = offset - candidate.start;
    const std::uint64_t length = blocks_[candidate.blockNumber].rawLength;
    return offsetInBlock <= length && size <= length - offsetInBlock ? &candidate : nullptr;
}

bool Container::holds(std::string_view name, std::uint64_t offset, std::uint64_t size) const {
    return findBlock(name, offset, size) != nullptr;
}

std::string Container::bytes(std::string_view name, std::uint64_t offset, std::uint64_t size) {
    const StreamBlock* const found = findBlock(name, offset, size);
    if (found == nullptr) {
        throw Error("\"" + std::string(name) + "\": no block contains the bytes " +
                    std::to_string(offset) + " to " + std::to_string(offset + size));
    }
    return contentOf(found->blockNumber).substr(offset - found->start, size);
}

const std::string& Container::contentOf(std::uint64_t blockNumber) {
    if (contentOwner_ != blockNumber) {
        contentOwner_.reset();
        content_.clear();
        readContent(blocks_[blockNumber], [this](std::string_view bytes) { content_ += bytes; });
        contentOwner_ = blockNumber;
    }
    return content_;
}

void Container::readContent(const Block& block, const std::function<void(std::string_view)>& sink) {
    if (block.isCompressed()) {
        decompress(block, sink);
    } else {
        readStored(block, sink);
    }
}

void Container::readStored(const Block& block, const std::function<void(std::string_view)>& sink) {
    for (std::uint64_t done = 0; done < block.storedLength; done += bufferSize) {
        sink(readAt(block.position + done,
                    std::min<std::uint64_t>(bufferSize, block.storedLength - done)));
    }
}

void Container::decompress(const Block& block, const std::function<void(std::string_view)>& sink) {
    Inflater inflater;
    std::string input;
    // no larger than needed: a file may have many small blocks
    std::vector<char> output(std::clamp<std::size_t>(block.rawLength, 1, bufferSize));
    std::uint64_t taken = rawLengthSize;
    std::uint64_t given = 0;
    int result = Z_OK;
    while (result != Z_STREAM_END) {
        if (inflater->avail_in == 0 && taken < block.storedLength) {
            input = readAt(block.position + taken,
                           std::min<std::uint64_t>(bufferSize, block.storedLength - taken));
            taken += input.size();
            inflater->next_in = reinterpret_cast<Bytef*>(input.data());
            inflater->avail_in = static_cast<uInt>(input.size());
        }
        inflater->next_out = reinterpret_cast<Bytef*>(output.data());
        inflater->avail_out = static_cast<uInt>(output.size());
        result = inflate(&*inflater, Z_NO_FLUSH);
        if (result == Z_BUF_ERROR) {
            fail(block, "its compressed data end early");
        }
        if (result != Z_OK && result != Z_STREAM_END) {
            fail(block, inflater->msg != nullptr ? inflater->msg : "it cannot be decompressed");
        }
        const std::size_t got = output.size() - inflater->avail_out;
        given += got;
        if (given > block.rawLength) {
            fail(block, "it has more content than its length says");
        }
        sink(std::string_view(output.data(), got));
    }
    if (given != block.rawLength) {
        fail(block, "it has less content than its length says");
    }
    if (inflater->avail_in != 0 || taken != block.storedLength) {
        fail(block, "bytes follow its compressed data");
    }
}

} // namespace MekReader
