/// @file
/// The floor: byte shuffle, `compress2` on blocks of the library's size, and `fwrite`. No names, no
/// index, no copy of the input.

#include "compare/writer.hpp"
#include "tyr/mek/byteshuffle.hpp"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace {

/// Memory that is reused, so that only the bytes in use are touched.
class Buffer {
public:
    unsigned char* withRoomFor(std::uint64_t size) {
        if (size > size_) {
            bytes_ = static_cast<unsigned char*>(std::realloc(bytes_, size));
            size_ = size;
        }
        if (bytes_ == nullptr) {
            throw std::bad_alloc();
        }
        return bytes_;
    }

private:
    unsigned char* bytes_ = nullptr;
    std::uint64_t size_ = 0;
};

class Floor {
public:
    using Input = Bench::PlainInput;

    Floor(const std::string& path, const std::string&) : file_(std::fopen(path.c_str(), "wb")) {}

    void add(const Bench::Dataset& dataset, Input& input) {
        const std::uint64_t end = length_ + dataset.sizeInBytes();
        unsigned char* const block = block_.withRoomFor(std::max(end, blockLimit));
        TyrMek::ShuffleBytes(input.data(), dataset.rows, static_cast<std::uint8_t>(dataset.width),
                             block + length_);
        length_ = end;
        if (length_ >= blockLimit) {
            writeBlock();
        }
    }

    void close() {
        writeBlock();
        if (std::fclose(file_) != 0) {
            throw std::runtime_error("writing failed");
        }
    }

private:
    static constexpr std::uint64_t blockLimit = 200 * 1024 * 1024;

    void writeBlock() {
        uLongf size = compressBound(length_);
        unsigned char* const compressed = compressed_.withRoomFor(size);
        if (compress2(compressed, &size, block_.withRoomFor(0), length_, 6) != Z_OK) {
            throw std::runtime_error("compression failed");
        }
        std::fwrite(compressed, 1, size, file_);
        length_ = 0;
    }

    std::FILE* file_;
    Buffer block_;
    Buffer compressed_;
    std::uint64_t length_ = 0;
};

} // namespace

int main(int argc, char** argv) { return Bench::writerMain<Floor>(argc, argv); }
