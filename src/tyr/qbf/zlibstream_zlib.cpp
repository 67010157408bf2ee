#include "tyr/qbf/zlibstream.hpp"

#include "tyr/exception/raise.hpp"

#include <zlib.h>

#include <algorithm>
#include <limits>

namespace TyrQbf {

std::uint64_t ZlibStreamBound(std::uint32_t length) { return compressBound(length); }

std::uint64_t ToZlibStream(const unsigned char* source, std::uint32_t length, unsigned char* target,
                           std::uint64_t capacity, std::int32_t level) {
    auto size =
        static_cast<uLongf>(std::min<std::uint64_t>(capacity, std::numeric_limits<uLongf>::max()));
    const int result = compress2(target, &size, source, length, level);
    if (result == Z_MEM_ERROR) {
        TYR_RAISE(Tyr::Exception::MemoryAllocationException());
    }
    if (result != Z_OK) {
        TYR_RAISE(Tyr::Exception::MiscelleneousException("Unable to compress block"));
    }
    return size;
}

std::uint32_t Crc32(std::uint32_t before, const unsigned char* bytes, std::size_t size) {
    return static_cast<std::uint32_t>(crc32_z(before, bytes, size));
}

} // namespace TyrQbf
