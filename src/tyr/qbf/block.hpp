/// @file
/// The unit of a container file while it is in memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

namespace TyrQbf {

/// Bytes of the length that is stored before a table, and before the content of a compressed block.
constexpr std::uint32_t lengthFieldSize = 4;

/// Growth step of every block, 10 MiB until the environment sets another. Process-wide.
extern std::atomic<std::uint32_t> defaultBlockSize;

/// A growable byte buffer with a write cursor.
///
/// A plain value: a copy shares the buffer, and there is no destructor, so that a growing vector
/// moves blocks as four members. The owner of the block frees the buffer with `Release`.
///
/// Invariants: `position` <= `length`, and `length` <= `capacity` while `data` is set.
struct Block {
    unsigned char* data = nullptr; ///< from `realloc` or `malloc`; null before and after use
    std::uint64_t capacity = 0;    ///< bytes allocated
    std::uint32_t length = 0;      ///< bytes of content: the highest value of `position` so far
    std::uint32_t position = 0;    ///< the cursor, where the next `Put` writes

    /// Copies `size` bytes to the cursor.
    /// @throws OverflowError the content would reach 2^32 bytes; nothing changes
    /// @throws MemoryAllocationException nothing changes
    void Put(const void* const& bytes, const unsigned int& size);

    /// Appends a string: 32-bit count of bytes, then the bytes.
    void Put(const std::string& text);

    /// Moves the cursor, to fill in a field whose value was not known before.
    /// @throws OutOfBounds "Invalid block position": greater than `length`
    void SetPosition(const unsigned int& newPosition);

    /// Writes the content at the stream's file position, after its 32-bit length if asked.
    /// @throws FileWriteException "Unable to write to file"
    void Write(std::FILE* stream, bool withLength) const;

    /// Makes the buffer `additional` bytes larger.
    /// @throws MemoryAllocationException no memory, or a size beyond `size_t`; nothing changes
    void AllocateAdditionalMemory(const std::uint64_t& additional);

    /// Makes room for `size` bytes at the cursor and moves the cursor to their end. Raises the
    /// errors of `Put`.
    /// @return the first of these bytes; the caller must write all of them
    unsigned char* Extend(std::uint32_t size);

    /// The capacity of this block after a `Put` of `size` bytes. Reads the environment as `Put`
    /// does.
    /// @throws OverflowError the content would reach 2^32 bytes
    std::uint64_t CapacityAfterPut(std::uint32_t size) const;

    /// Frees the buffer and leaves the other members unchanged.
    void Release();
};

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

} // namespace TyrQbf
