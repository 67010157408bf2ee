/// @file
/// Reads the container: head, index tables, blocks, and the streams that they make up.
///
///     offset  width  content
///     0       8      signature
///     8       4      "1.3" and a NUL
///     12      4      length of the first table, 2784
///     16      4      number of its entries, 20
///     20      2780   entries of blocks 0 to 19, 139 bytes each
///     2800           the blocks, one directly behind the other, in the order of their numbers
///
/// Blocks 19, 219, 419 ... hold the table of the next 200 entries, if there are such. The blocks of
/// one name, in order, are one stream of bytes.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace MekReader {

/// One entry of the index, and what follows from it.
struct Block {
    static constexpr std::uint8_t compressFlag = 0x01;
    static constexpr std::uint8_t freezeFlag = 0x20;

    std::uint64_t number = 0;
    std::uint8_t id = 0;
    std::string name{};
    std::uint64_t position = 0; ///< in the file
    std::uint32_t storedLength = 0;
    std::uint32_t rawLength = 0; ///< as the block says itself, if it is compressed
    std::uint8_t flags = 0;

    bool isFree() const;
    bool isIndex() const;
    bool isCompressed() const { return (flags & compressFlag) != 0; }
};

/// An open container whose head and tables hold to the format.
///
/// Nothing in a file is trusted: memory is taken only for bytes that are there. A `Container` is
/// for one thread at a time.
class Container {
public:
    /// @throws Unfinished the file has no complete index
    /// @throws Error the file can't be read, is no container, or its tables break a rule
    explicit Container(const std::filesystem::path& path);

    const std::vector<Block>& blocks() const { return blocks_; }
    std::uint64_t fileSize() const { return fileSize_; }

    /// Bytes of the stream of `name` before compression; 0 if there is none.
    std::uint64_t streamLength(std::string_view name) const;

    /// The whole stream of `name`.
    std::string stream(std::string_view name);

    /// `size` bytes of the stream of `name` from `offset` on.
    /// @throws Error they are not inside one block
    std::string bytes(std::string_view name, std::uint64_t offset, std::uint64_t size);

    /// Tells whether one block holds these bytes of the stream of `name`.
    bool holds(std::string_view name, std::uint64_t offset, std::uint64_t size) const;

    /// Reads a block through and hands on its content piece by piece.
    /// @throws Error the block can't be expanded, its checksum or its length is wrong
    void expand(const Block& block, const std::function<void(std::string_view)>& sink);

private:
    std::string readAt(std::uint64_t position, std::uint64_t size);
    void readHead();
    std::string readTableBytes(std::uint64_t position, std::uint64_t count);
    void readTable(std::uint64_t position, std::uint64_t count);
    void readTables();
    void placeBlock(Block& block);
    void checkEntry(const Block& block) const;
    void readRawLength(Block& block);
    void expandStored(const Block& block, const std::function<void(std::string_view)>& sink);
    void expandCompressed(const Block& block, const std::function<void(std::string_view)>& sink);

    /// Where in its stream the content of a block starts.
    struct StreamPart {
        std::uint64_t start;
        std::uint64_t blockNumber;
    };
    struct Stream {
        std::vector<StreamPart> parts{};
        std::uint64_t length = 0;
    };

    /// The part that holds these bytes, or null.
    const StreamPart* partWith(std::string_view name, std::uint64_t offset,
                               std::uint64_t size) const;
    const std::string& contentOf(std::uint64_t blockNumber);

    std::ifstream file_;
    std::uint64_t fileSize_ = 0;
    std::vector<Block> blocks_;
    std::map<std::string, Stream, std::less<>> streams_;

    std::string content_; ///< of the block that was used last
    std::optional<std::uint64_t> contentOwner_;
};

} // namespace MekReader
