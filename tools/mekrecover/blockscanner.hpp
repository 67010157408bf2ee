/// @file
/// Finds the blocks of a model file without its index.
///
///     offset  width  content
///     0       8      signature
///     2800           the blocks, without gaps, in the order of their numbers
///
/// A block is a 32-bit length of its content and one zlib stream. Blocks 19, 219, 419 and so on are
/// index tables of 27804 bytes instead.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace MekRecover {

/// A block whose zlib stream ends and has the right checksum and length.
struct WholeBlock {
    std::uint64_t number = 0;
    std::uint64_t position = 0; ///< in the file
    std::uint64_t storedLength = 0;
    std::uint32_t contentLength = 0;
};

/// Reads the blocks of a file one after the other, in pieces of at most 256 KiB. The stored length
/// of a block is known only when its stream has ended, so no block after a damaged one is found.
class BlockScanner {
public:
    /// Gets successive pieces of the content of a block.
    using Sink = std::function<void(std::string_view)>;

    /// @throws Console::FileError the file cannot be read, or has another signature
    explicit BlockScanner(const std::filesystem::path& path);

    /// Number of the block that `next` reads.
    std::uint64_t nextNumber() const { return number_; }

    /// Reads the next block. None if it is not whole; `sink` may have got some of its content then.
    /// @throws Console::FileError the file cannot be read
    std::optional<WholeBlock> next(const Sink& sink);

    /// Position of the byte after the whole blocks.
    std::uint64_t position() const { return position_; }

    /// Bytes of the file from that position on.
    std::uint64_t remaining() const { return size_ > position_ ? size_ - position_ : 0; }

private:
    void skipIndexBlock();
    std::size_t readPiece();
    std::optional<std::uint64_t> inflateStream(std::uint32_t contentLength, const Sink& sink);

    std::filesystem::path path_;
    std::ifstream file_;
    std::uint64_t size_ = 0;
    std::uint64_t number_ = 0;
    std::uint64_t position_;
    std::vector<char> input_;
    std::vector<char> output_;
};

} // namespace MekRecover
