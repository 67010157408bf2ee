/// @file
/// Reads the container: header, index tables, blocks, and the streams that the blocks form.
///
///     offset  bytes  content
///     0       8      signature
///     8       4      "1.3" and a NUL
///     12      4      length of the first table, 2784
///     16      4      number of its entries, 20
///     20      2780   entries of blocks 0 to 19, 139 bytes each
///     2800           the blocks, without gaps, in the order of their numbers
///
/// Blocks 19, 219, 419 ... each contain a table of 200 further entries if the file needs them. The
/// blocks of one name, in order, are one stream of bytes.
///
/// @code
/// #include <mekreader/container.hpp>
///
/// #include <iostream>
///
/// int main(int argc, char** argv) {
///     for (int i = 1; i < argc; ++i) {
///         MekReader::Container container(argv[i]);
///         for (const MekReader::Block& block : container.blocks()) {
///             std::cout << block.name << " at " << block.position << '\n';
///         }
///         std::cout << container.stream("Mek Tree").size() << " bytes of nodes\n";
///     }
/// }
/// @endcode
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

/// One entry of the index, and the values derived from it.
struct Block {
    static constexpr std::uint8_t compressFlag = 0x01; ///< the content is compressed
    static constexpr std::uint8_t freezeFlag = 0x20;   ///< the block may be written before `close`

    std::uint64_t number = 0;       ///< from 0
    std::uint8_t id = 0;            ///< as in the file
    std::string name{};             ///< of the stream
    std::uint64_t position = 0;     ///< in the file
    std::uint32_t storedLength = 0; ///< bytes in the file
    std::uint32_t rawLength = 0;    ///< length of the content, decompressed
    std::uint8_t flags = 0;         ///< see above

    /// Whether the entry is free.
    bool isEmpty() const;

    /// Whether the block contains an index table.
    bool isIndex() const;

    /// Whether the content is compressed.
    bool isCompressed() const { return (flags & compressFlag) != 0; }
};

/// An open container with a valid header and valid tables.
///
/// A damaged length cannot cause a large allocation: memory is allocated only for bytes that exist.
/// A `Container` may be used by one thread at a time.
class Container {
public:
    /// @throws Unfinished the file has no complete index
    /// @throws Error the file cannot be read, is not a container, or has an invalid table
    explicit Container(const std::filesystem::path& path);

    /// All entries of the index, by number.
    const std::vector<Block>& blocks() const { return blocks_; }

    /// Bytes of the file.
    std::uint64_t fileSize() const { return fileSize_; }

    /// Bytes of the content of the stream `name`; 0 if there is none.
    std::uint64_t streamLength(std::string_view name) const;

    /// The whole stream `name`, decompressed; empty if there is none.
    std::string stream(std::string_view name);

    /// `size` bytes of the stream `name`, starting at `offset`.
    /// @throws Error no single block contains them
    std::string bytes(std::string_view name, std::uint64_t offset, std::uint64_t size);

    /// Whether a single block contains these bytes of the stream `name`.
    bool holds(std::string_view name, std::uint64_t offset, std::uint64_t size) const;

    /// Reads a block, decompresses it if needed, and calls `sink` with successive ranges of its
    /// content.
    /// @throws Error the block cannot be decompressed, or its checksum or length is invalid
    void readContent(const Block& block, const std::function<void(std::string_view)>& sink);

private:
    std::string readAt(std::uint64_t position, std::uint64_t size);
    void readHeader();
    std::string readTableBytes(std::uint64_t position, std::uint64_t count);
    void readTable(std::uint64_t position, std::uint64_t count);
    void readTables();
    void placeBlock(Block& block);
    void checkEntry(const Block& block) const;
    void readRawLength(Block& block);
    void readStored(const Block& block, const std::function<void(std::string_view)>& sink);
    void decompress(const Block& block, const std::function<void(std::string_view)>& sink);

    /// A block of a stream and the offset of its content in that stream.
    struct StreamBlock {
        std::uint64_t start;
        std::uint64_t blockNumber;
    };
    struct Stream {
        std::vector<StreamBlock> blocks{};
        std::uint64_t length = 0;
    };

    /// The block that contains these bytes, or null.
    const StreamBlock* findBlock(std::string_view name, std::uint64_t offset,
                                 std::uint64_t size) const;
    const std::string& contentOf(std::uint64_t blockNumber);

    std::ifstream file_;
    std::uint64_t fileSize_ = 0;
    std::vector<Block> blocks_;
    std::map<std::string, Stream, std::less<>> streams_;

    std::string content_; ///< of the block that was read last
    std::optional<std::uint64_t> contentOwner_;
};

} // namespace MekReader
