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

struct FreeMemory {
    void operator()(unsigned char* bytes) const { std::free(bytes); }
};
using Buffer = std::unique_ptr<unsigned char, FreeMemory>;

/// Bytes for the zlib stream of `length` bytes: a fifth more than the content, and never less than
/// the stream can need.
std::uint64_t OutputCapacity(std::uint32_t length) {
    const auto aFifthMore = static_cast<std::uint64_t>(static_cast<float>(length) * 1.2F) + 12;
    return std::max<std::uint64_t>(aFifthMore, ZlibStreamBound(length));
}

/// The capacity of an empty block after a `Put` of the length field and one of the stream.
std::uint64_t CompressedCapacity(std::uint32_t streamSize) {
    Block block;
    for (const std::uint32_t size : {lengthFieldSize, streamSize}) {
        block.capacity = block.CapacityAfterPut(size);
        block.position += size;
    }
    return block.capacity;
}

} // namespace

BlockZlibCompressor::BlockZlibCompressor(std::int32_t compressionLevel) : level(compressionLevel) {}

/// The output becomes the buffer of the block without a copy. All that can fail comes before the
/// old buffer is freed.
void BlockZlibCompressor::operator()(Block& block) {
    const std::uint64_t outputCapacity = OutputCapacity(block.length);
    Buffer output(static_cast<unsigned char*>(std::malloc(lengthFieldSize + outputCapacity)));
    if (output == nullptr) {
        TYR_RAISE(Tyr::Exception::MemoryAllocationException());
    }

    const std::uint64_t streamSize = ToZlibStream(
        block.data, block.length, output.get() + lengthFieldSize, outputCapacity, level);
    if (streamSize > std::numeric_limits<std::uint32_t>::max() - lengthFieldSize) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }
    EncodeLittleEndian(block.length, output.get());

    Block compressed;
    compressed.data = output.get();
    compressed.AllocateAdditionalMemory(CompressedCapacity(static_cast<std::uint32_t>(streamSize)));
    static_cast<void>(output.release()); // `compressed` owns it now, perhaps at another address
    compressed.length = static_cast<std::uint32_t>(lengthFieldSize + streamSize);
    compressed.position = compressed.length;
    block.Release();
    block = compressed;
}

} // namespace TyrQbf
