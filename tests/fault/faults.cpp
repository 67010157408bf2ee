#include "fault/faults.hpp"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>
#if !TYR_TEST_HAS_BYTES_OF_ZLIB
#include <libdeflate.h>
#endif
#include <zlib.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void __real_free(void* memory);
std::FILE* __real_fopen64(const char* path, const char* mode);
std::FILE* __real_fdopen(int file, const char* mode);
int __real_rename(const char* from, const char* to);
int __real_link(const char* from, const char* to);
int __real_unlink(const char* path);
int __real_fflush(std::FILE* stream);
int __real_deflateInit2_(z_streamp stream, int level, int method, int windowBits, int memoryLevel,
                         int strategy, const char* version, int size);
int __real_deflate(z_streamp stream, int flush);
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

Fault awaitedFault = Fault::None;
std::uint64_t callsUntilFault = 0;
bool isInLibrary = false;
bool isInFlush = false;
std::atomic<std::int64_t> allocationCount = 0; // threads free memory when they end
std::int64_t bytesOfNew = 0;
std::vector<Testing::RecordedWrite>* recording = nullptr;

/// The reader allocates a large buffer for each block. By default the C library returns its memory
/// to the system each time, which takes most of the time of a test.
[[maybe_unused]] const int keepsFreedMemory =
    mallopt(M_MMAP_THRESHOLD, 1 << 25) + mallopt(M_TRIM_THRESHOLD, 1 << 28);

/// The files are in memory, since there are many short ones.
[[maybe_unused]] const int isInMemory = setenv("TMPDIR", "/dev/shm", 0);

/// Whether this call of the kind is the one that fails.
bool fails(Fault kind) {
    const bool counts = isInLibrary && awaitedFault == kind;
    if (!counts || --callsUntilFault != 0) {
        return false;
    }
    awaitedFault = Fault::None;
    return true;
}

void* counted(void* memory) {
    allocationCount += memory != nullptr ? 1 : 0;
    return memory;
}

int fileOf(void* cookie) { return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie)); }

ssize_t writeFile(void* cookie, const char* bytes, std::size_t size) {
    size = fails(Fault::ShortWrite) ? size / 2 : size;
    errno = ENOSPC;
    if (fails(Fault::Write) || (isInFlush && fails(Fault::Flush))) {
        return 0;
    }
    if (fails(Fault::Kill)) {
        const ssize_t done = write(fileOf(cookie), bytes, size / 2);
        raise(done >= 0 ? SIGKILL : SIGABRT);
    }
    if (recording != nullptr) {
        const off_t position = lseek(fileOf(cookie), 0, SEEK_CUR);
        const auto entry = "/proc/self/fd/" + std::to_string(fileOf(cookie));
        recording->push_back({std::filesystem::read_symlink(entry),
                              static_cast<std::uint64_t>(position),
                              {bytes, size}});
    }
    return write(fileOf(cookie), bytes, size);
}

int seekFile(void* cookie, off64_t* position, int origin) {
    if (fails(Fault::Seek)) {
        errno = EINVAL;
        return -1;
    }
    *position = lseek(fileOf(cookie), *position, origin);
    return *position < 0 ? -1 : 0;
}

int closeFile(void* cookie) {
    const int result = close(fileOf(cookie));
    return fails(Fault::Close) ? EOF : result;
}

bool isObserved() { return isInLibrary && (awaitedFault != Fault::None || recording != nullptr); }

std::FILE* observedStream(int file, const char* mode) {
    return fopencookie(reinterpret_cast<void*>(std::intptr_t{file}), mode,
                       {nullptr, writeFile, seekFile, closeFile});
}

bool failsWithError(Fault kind) {
    const bool isError = fails(kind);
    errno = isError ? EIO : errno;
    return isError;
}

void killIfAwaited() {
    if (fails(Fault::Kill)) {
        raise(SIGKILL);
    }
}

} // namespace

extern "C" {

std::FILE* __wrap_fopen64(const char* path, const char* mode) {
    if (fails(Fault::Open)) {
        errno = EMFILE;
        return nullptr;
    }
    if (!isObserved() || mode[0] != 'w') {
        return __real_fopen64(path, mode);
    }
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return file < 0 ? nullptr : observedStream(file, mode);
}

std::FILE* __wrap_fdopen(int file, const char* mode) {
    if (fails(Fault::Open)) {
        errno = EMFILE;
        return nullptr;
    }
    return isObserved() ? observedStream(file, mode) : __real_fdopen(file, mode);
}

int __wrap_rename(const char* from, const char* to) {
    killIfAwaited();
    return failsWithError(Fault::Rename) ? -1 : __real_rename(from, to);
}

int __wrap_link(const char* from, const char* to) {
    killIfAwaited();
    return failsWithError(Fault::Rename) ? -1 : __real_link(from, to);
}

int __wrap_unlink(const char* path) {
    killIfAwaited();
    return failsWithError(Fault::Remove) ? -1 : __real_unlink(path);
}

/// Does not wait for the device, which takes most of the time of a test.
int __wrap_fsync(int) { return failsWithError(Fault::Synchronize) ? -1 : 0; }

int __wrap_fflush(std::FILE* stream) {
    isInFlush = true;
    const int result = __real_fflush(stream);
    isInFlush = false;
    return result;
}

void* __wrap_malloc(std::size_t size) {
    return fails(Fault::Malloc) ? nullptr : counted(__real_malloc(size));
}

/// Compilers replace a `malloc` whose memory is cleared by this call.
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return fails(Fault::Malloc) ? nullptr : counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* memory, std::size_t size) {
    if (fails(Fault::Realloc)) {
        return nullptr;
    }
    void* const moved = __real_realloc(memory, size);
    return memory == nullptr ? counted(moved) : moved;
}

void __wrap_free(void* memory) {
    allocationCount -= memory != nullptr ? 1 : 0;
    __real_free(memory);
}

int __wrap_deflateInit2_(z_streamp stream, int level, int method, int windowBits, int memoryLevel,
                         int strategy, const char* version, int size) {
    return fails(Fault::ChunkMemory) ? Z_MEM_ERROR
                                     : __real_deflateInit2_(stream, level, method, windowBits,
                                                            memoryLevel, strategy, version, size);
}

int __wrap_deflate(z_streamp stream, int flush) {
    return fails(Fault::Chunk) ? Z_STREAM_ERROR : __real_deflate(stream, flush);
}

#if TYR_TEST_HAS_BYTES_OF_ZLIB
int __wrap_compress2(Bytef* target, uLongf* targetSize, const Bytef* source, uLong size,
                     int level) {
    if (fails(Fault::CompressMemory)) {
        return Z_MEM_ERROR;
    }
    return fails(Fault::Compress) ? Z_BUF_ERROR
                                  : __real_compress2(target, targetSize, source, size, level);
}
#else
libdeflate_compressor* __wrap_libdeflate_alloc_compressor(int level) {
    return fails(Fault::CompressMemory) ? nullptr : __real_libdeflate_alloc_compressor(level);
}

std::size_t __wrap_libdeflate_zlib_compress(libdeflate_compressor* compressor, const void* source,
                                            std::size_t size, void* target, std::size_t capacity) {
    return fails(Fault::Compress)
               ? 0
               : __real_libdeflate_zlib_compress(compressor, source, size, target, capacity);
}
#endif

std::time_t __wrap_time(std::time_t* time) {
    constexpr std::time_t fixed = 1700000000;
    if (time != nullptr) {
        *time = fixed;
    }
    return fixed;
}

} // extern "C"

void* operator new(std::size_t size) {
    void* const memory = fails(Fault::New) ? nullptr : counted(__real_malloc(size));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    bytesOfNew += static_cast<std::int64_t>(size);
    return memory;
}

void operator delete(void* memory) noexcept { __wrap_free(memory); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace Testing {

bool injectFault(Fault kind, std::uint64_t number, const std::function<void()>& action) {
    awaitedFault = kind;
    callsUntilFault = number;
    action();
    awaitedFault = Fault::None;
    return callsUntilFault == 0;
}

void runTasks(std::size_t count, const std::function<void(std::size_t)>& task) {
    while (count != 0) {
        if (fails(Fault::ParallelFor)) {
            throw std::bad_alloc();
        }
        task(--count);
    }
}

std::size_t stateStride() {
    const char* const stride = std::getenv("MEKAPI2_TEST_STRIDE");
    return stride == nullptr ? 1 : std::stoul(stride);
}

std::uint64_t nextCall(std::uint64_t number) { return number + (number < 32 ? 1 : stateStride()); }

LibraryCall::LibraryCall() { isInLibrary = true; }
LibraryCall::~LibraryCall() { isInLibrary = false; }

std::int64_t liveAllocations() { return allocationCount; }
std::int64_t allocatedBytes() { return bytesOfNew; }

std::size_t recordedWrites() { return recording->size(); }

std::vector<RecordedWrite> recordWrites(const std::function<void()>& action) {
    std::vector<RecordedWrite> writes;
    recording = &writes;
    action();
    recording = nullptr;
    return writes;
}

} // namespace Testing
