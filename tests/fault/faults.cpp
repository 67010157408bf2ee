#include "fault/faults.hpp"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#if TYR_TEST_HAS_BYTES_OF_ZLIB
#include <zlib.h>
#else
#include <libdeflate.h>
#endif

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void __real_free(void* memory);
std::FILE* __real_fopen64(const char* path, const char* mode);
int __real_fflush(std::FILE* stream);
#if TYR_TEST_HAS_BYTES_OF_ZLIB
int __real_compress2(Bytef* target, uLongf* targetSize, const Bytef* source, uLong size, int level);
#else
libdeflate_compressor* __real_libdeflate_alloc_compressor(int level);
std::size_t __real_libdeflate_zlib_compress(libdeflate_compressor* compressor, const void* source,
                                            std::size_t size, void* target, std::size_t capacity);
#endif
}

namespace {

using Testing::Fault;

struct {
    bool isArmed = false;
    bool isInLibrary = false;
    bool hasStruck = false;
    Fault kind{};
    std::uint64_t callsLeft = 0;
} injection;

std::int64_t held = 0;
std::int64_t given = 0; // bytes, by `operator new`
bool isInFlush = false;
Testing::WriteRecorder* recorder = nullptr;

bool strikes(Fault kind) {
    const bool counts = injection.isArmed && injection.isInLibrary && injection.kind == kind;
    if (!counts || --injection.callsLeft != 0) {
        return false;
    }
    injection.isArmed = false;
    injection.hasStruck = true;
    return true;
}

void* counted(void* memory) {
    held += memory != nullptr ? 1 : 0;
    return memory;
}

int fileOf(void* cookie) { return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)); }

ssize_t writeFile(void* cookie, const char* bytes, std::size_t size) {
    const bool isCut = strikes(Fault::ShortWrite);
    errno = ENOSPC;
    if (strikes(Fault::Write) || (isInFlush && strikes(Fault::Flush))) {
        return 0;
    }
    const std::size_t taken = isCut ? size / 2 : size;
    if (strikes(Fault::Kill)) {
        const ssize_t written = write(fileOf(cookie), bytes, size / 2);
        raise(written >= 0 ? SIGKILL : SIGABRT);
    }
    if (recorder != nullptr) {
        const off_t position = lseek(fileOf(cookie), 0, SEEK_CUR);
        recorder->writes.emplace_back(position, std::string(bytes, taken));
    }
    return write(fileOf(cookie), bytes, taken);
}

int seekFile(void* cookie, off64_t* position, int origin) {
    if (strikes(Fault::Seek)) {
        errno = EINVAL;
        return -1;
    }
    *position = lseek(fileOf(cookie), *position, origin);
    return *position < 0 ? -1 : 0;
}

int closeFile(void* cookie) {
    const int result = close(fileOf(cookie));
    return strikes(Fault::Close) ? EOF : result;
}

} // namespace

extern "C" {

std::FILE* __wrap_fopen64(const char* path, const char* mode) {
    if (strikes(Fault::Open)) {
        errno = EMFILE;
        return nullptr;
    }
    if (!injection.isArmed && recorder == nullptr) {
        return __real_fopen64(path, mode);
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) {
        return nullptr;
    }
    return fopencookie(reinterpret_cast<void*>(std::intptr_t{file}), mode,
                       {nullptr, writeFile, seekFile, closeFile});
}

int __wrap_fflush(std::FILE* stream) {
    isInFlush = true;
    const int result = __real_fflush(stream);
    isInFlush = false;
    return result;
}

void* __wrap_malloc(std::size_t size) {
    return strikes(Fault::Malloc) ? nullptr : counted(__real_malloc(size));
}

/// Compilers make it of a `malloc` whose memory is cleared.
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return strikes(Fault::Malloc) ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* memory, std::size_t size) {
    if (strikes(Fault::Realloc)) {
        return nullptr;
    }
    void* const moved = __real_realloc(memory, size);
    return memory == nullptr ? counted(moved) : moved;
}

void __wrap_free(void* memory) {
    held -= memory != nullptr ? 1 : 0;
    __real_free(memory);
}

#if TYR_TEST_HAS_BYTES_OF_ZLIB
int __wrap_compress2(Bytef* target, uLongf* targetSize, const Bytef* source, uLong size,
                     int level) {
    if (strikes(Fault::CompressMemory)) {
        return Z_MEM_ERROR;
    }
    return strikes(Fault::Compress) ? Z_BUF_ERROR
                                    : __real_compress2(target, targetSize, source, size, level);
}
#else
libdeflate_compressor* __wrap_libdeflate_alloc_compressor(int level) {
    return strikes(Fault::CompressMemory) ? nullptr : __real_libdeflate_alloc_compressor(level);
}

std::size_t __wrap_libdeflate_zlib_compress(libdeflate_compressor* compressor, const void* source,
                                            std::size_t size, void* target, std::size_t capacity) {
    return strikes(Fault::Compress)
               ? 0
               : __real_libdeflate_zlib_compress(compressor, source, size, target, capacity);
}
#endif

std::time_t __wrap_time(std::time_t* time) {
    constexpr std::time_t stopped = 1700000000;
    if (time != nullptr) {
        *time = stopped;
    }
    return stopped;
}

} // extern "C"

void* operator new(std::size_t size) {
    void* const memory = strikes(Fault::New) ? nullptr : counted(__real_malloc(size));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    given += static_cast<std::int64_t>(size);
    return memory;
}

void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { __wrap_free(memory); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }

namespace Testing {

Injection::Injection(Fault kind, std::uint64_t number) {
    injection = {true, false, false, kind, number};
}
Injection::~Injection() { injection.isArmed = false; }
bool Injection::hasStruck() { return injection.hasStruck; }

LibraryCall::LibraryCall() { injection.isInLibrary = true; }
LibraryCall::~LibraryCall() { injection.isInLibrary = false; }

std::int64_t heldAllocations() { return held; }
std::int64_t givenBytes() { return given; }

WriteRecorder::WriteRecorder() { recorder = this; }
WriteRecorder::~WriteRecorder() { recorder = nullptr; }

} // namespace Testing
