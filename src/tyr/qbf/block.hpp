/// @file
/// The unit of a container file while it is in memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <string>

namespace TyrQbf {

/// Growth step of every block, 10 MiB until the environment gives another. Process-wide.
extern std::atomic<std::uint32_t> defaultBlockSize;

/// A growable byte buffer with a write cursor.
///
/// A plain value: a copy shares the buffer, and there is no destructor, so that moving blocks
/// inside a growing vector stays a move of four members. Whoever holds the block frees the buffer.
struct Block {
    unsigned char* data = nullptr; ///< from `realloc` or `malloc`; null while nothing is held
    std::uint64_t capacity = 0;    ///< bytes allocated
    std::uint32_t length = 0;      ///< bytes of content: the highest value `position` ever had
    std::uint32_t position = 0;    ///< where the next `Put` writes

    /// Copies `size` bytes to the cursor.
    /// @throws OverflowError the content would reach 2^32 bytes; nothing is changed
    /// @throws MemoryAllocationException the content stays as it was
    void Put(const void* const& bytes, const unsigned int& size);

    /// Appends a text: 32-bit count of bytes, then the bytes.
    void Put(const std::string& text);

    /// Makes room for `size` bytes at the cursor and moves the cursor behind them.
    /// @return where they stand, to be filled completely by the caller; fails like `Put`
    unsigned char* Extend(std::uint32_t size);

    /// Moves the cursor, to fill in a field whose value was not known before.
    /// @throws OutOfBounds "Invalid block position": behind the content
    void SetPosition(const unsigned int& newPosition);

    /// Writes the content at the stream's file position, with its 32-bit length in front if asked.
    /// @throws FileWriteException "Unable to write to file"
    void Write(std::FILE* stream, bool withLength) const;

    /// Makes the buffer `additional` bytes larger.
    /// @throws MemoryAllocationException the block stays as it was
    void AllocateAdditionalMemory(const std::uint64_t& additional);

    /// Frees the buffer and leaves the other members as they are.
    void Release();
};

} // namespace TyrQbf
