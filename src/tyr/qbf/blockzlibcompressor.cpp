#include "tyr/qbf/blockzlibcompressor.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/block.hpp"
#include "tyr/qbf/coding.hpp"
#include "tyr/qbf/zlibstream.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>

namespace TyrQbf {

namespace {

constexpr std::uint32_t lengthFieldSize = 4;

struct FreeMemory {
    void operator()(unsigned char* bytes) const { std::free(bytes); }
};
using Buffer = std::unique_ptr<unsigned char, FreeMemory>;

/// Room for the zlib stream of `length` bytes: a fifth more than the content, and never less than
/// the stream can take.
std::uint64_t OutputCapacity(std::uint32_t length) {
    const auto aFifthMore = static_cast<std::uint64_t>(static_cast<float>(length) * 1.2F) + 12;
    return std::max<std::uint64_t>(aFifthMore, ZlibStreamBound(length));
}

} // namespace

BlockZlibCompressor::BlockZlibCompressor(std::int32_t compressionLevel) : level(compressionLevel) {}

void BlockZlibCompressor::operator()(Block& block) {
    const std::uint64_t capacity = OutputCapacity(block.length);
    Buffer output(static_cast<unsigned char*>(std::malloc(lengthFieldSize + capacity)));
    if (output == nullptr) {
        TYR_RAISE(Tyr::Exception::MemoryAllocationException());
    }

    const std::uint64_t storedLength =
        lengthFieldSize +
        ToZlibStream(block.data, block.length, output.get() + lengthFieldSize, capacity, level);
    if (storedLength > std::numeric_limits<std::uint32_t>::max()) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }

    // The output becomes the block's buffer as it is: a copy of it could fail once the content is
    // gone, and would need the memory twice.
    EncodeLittleEndian(block.length, output.get());
    block.Release();
    block.data = output.release();
    block.capacity = lengthFieldSize + capacity;
    block.length = static_cast<std::uint32_t>(storedLength);
    block.position = block.length;
}

} // namespace TyrQbf
