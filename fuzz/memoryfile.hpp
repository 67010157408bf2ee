/// @file
/// A file in memory that has a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace Fuzz {

class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("fuzz", 0)) {
        if (descriptor_ < 0) {
            std::abort();
        }
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(descriptor_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

    void write(const void* bytes, std::size_t size) const {
        if (ftruncate(descriptor_, 0) != 0 ||
            pwrite(descriptor_, bytes, size, 0) != static_cast<ssize_t>(size)) {
            std::abort();
        }
    }

private:
    int descriptor_;
};

} // namespace Fuzz
