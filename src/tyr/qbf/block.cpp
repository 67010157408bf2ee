#include "tyr/qbf/block.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/blocksize.hpp"
#include "tyr/qbf/coding.hpp"
#include "tyr/qbf/encoding.hpp"
#include "tyr/qbf/unchangedenvironment.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace TyrQbf {

std::atomic<std::uint32_t> defaultBlockSize{10 * 1024 * 1024};

namespace {

/// The current growth step. A valid value of the environment remains the step from then on. A value
/// that replaces it is not one of this process and can only make the step smaller.
std::uint32_t CurrentDefaultBlockSize() {
    const auto size = BlockSizeFromEnvironment();
    if (size && !UnchangedEnvironment::IsReplaced()) {
        defaultBlockSize.store(*size, std::memory_order_relaxed);
    }
    const std::uint32_t step = defaultBlockSize.load(std::memory_order_relaxed);
    return std::min(size.value_or(step), step);
}

} // namespace

void Block::Put(const void* const& bytes, const unsigned int& size) {
    const unsigned int count = size; // may refer to a member of this block, which changes now
    unsigned char* const target = Extend(count);
    if (count != 0) {
        std::memcpy(target, bytes, count);
    }
}

void Block::Put(const std::string& text) { Encode(*this, text); }

void Block::SetPosition(const unsigned int& newPosition) {
    if (newPosition > length) {
        TYR_RAISE(Tyr::Exception::OutOfBounds("Invalid block position"));
    }
    position = newPosition;
}

void Block::Write(std::FILE* stream, bool withLength) const {
    if (withLength) {
        const auto bytes = LittleEndian(length);
        std::fwrite(bytes.data(), bytes.size(), 1, stream);
    }
    if (length != 0) {
        std::fwrite(data, length, 1, stream);
    }
    if (std::ferror(stream) != 0) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
    }
}

void Block::AllocateAdditionalMemory(const std::uint64_t& additional) {
    if (additional > std::numeric_limits<std::size_t>::max() - capacity) {
        TYR_RAISE(Tyr::Exception::MemoryAllocationException());
    }
    if (capacity + additional == 0) {
        return; // a realloc to 0 bytes would free the buffer
    }
    void* const grown = std::realloc(data, capacity + additional);
    if (grown == nullptr) {
        TYR_RAISE(Tyr::Exception::MemoryAllocationException());
    }
    data = static_cast<unsigned char*>(grown);
    capacity += additional;
}

unsigned char* Block::Extend(std::uint32_t size) {
    const std::uint64_t grownCapacity = CapacityAfterPut(size);
    if (grownCapacity > capacity) {
        AllocateAdditionalMemory(grownCapacity - capacity);
    }
    unsigned char* const target = data + position;
    position += size;
    length = std::max(length, position);
    return target;
}

std::uint64_t Block::CapacityAfterPut(std::uint32_t size) const {
    const std::uint32_t step = CurrentDefaultBlockSize();
    const std::uint64_t end = std::uint64_t{position} + size;
    if (end > std::numeric_limits<std::uint32_t>::max()) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }
    return end < capacity ? capacity : capacity + std::max(size, step);
}

void Block::Release() {
    std::free(data);
    data = nullptr;
}

} // namespace TyrQbf
