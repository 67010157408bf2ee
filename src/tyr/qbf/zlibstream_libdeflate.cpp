#include "tyr/qbf/zlibstream.hpp"

#include "tyr/exception/raise.hpp"

#include <libdeflate.h>

#include <cstddef>
#include <memory>

namespace TyrQbf {

namespace {

struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const {
        libdeflate_free_compressor(compressor);
    }
};

constexpr std::int32_t largestLevel = 9; // the largest of zlib; libdeflate has more

} // namespace

std::uint64_t ZlibStreamBound(std::uint32_t length) {
    return libdeflate_zlib_compress_bound(nullptr, length);
}

std::uint64_t ToZlibStream(const unsigned char* source, std::uint32_t length, unsigned char* target,
                           std::uint64_t capacity, std::int32_t level) {
    if (level < 0 || level > largestLevel) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("Unable to compress block"));
    }
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
        libdeflate_alloc_compressor(level));
    if (compressor == nullptr) {
        TYR_RAISE(Tyr::Exception::MemoryAllocationException());
    }
    const std::size_t size = libdeflate_zlib_compress(compressor.get(), source, length, target,
                                                      static_cast<std::size_t>(capacity));
    if (size == 0) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("Unable to compress block"));
    }
    return size;
}

std::uint32_t Crc32(std::uint32_t before, const unsigned char* bytes, std::size_t size) {
    return libdeflate_crc32(before, bytes, size);
}

} // namespace TyrQbf
