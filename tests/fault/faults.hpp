/// @file
/// Makes one call of the system, the allocator or the compression fail. The calls are wrapped at
/// link time.
///
/// Files are real files and streams are those of the C library, so that buffering, short writes and
/// the error flag of a stream are real as well. Without an injected fault only the clock differs:
/// it does not advance.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Testing {

enum class Fault {
    None,
    Open,           ///< the file cannot be opened
    Write,          ///< the system writes none of the bytes
    ShortWrite,     ///< the system writes half of the bytes
    Seek,           ///< the file position cannot be set
    Flush,          ///< a write within `fflush` fails
    Close,          ///< the system reports an error when the file is closed
    Rename,         ///< a file cannot be renamed
    Remove,         ///< a file cannot be removed
    Synchronize,    ///< the device does not have the bytes
    Malloc,         ///< no memory from `malloc` or `calloc`
    Realloc,        ///< no memory from `realloc`
    New,            ///< no memory from `operator new`
    CompressMemory, ///< no memory inside of the compression
    Compress,       ///< the compression fails for another reason
    ChunkMemory,    ///< no memory to compress a chunk
    Chunk,          ///< the compression of a chunk fails for another reason
    ParallelFor,    ///< `runTasks` throws `std::bad_alloc`
    Kill            ///< SIGKILL after half of the bytes of a write, or before a file is renamed
};

/// Makes the `number`-th call of a kind fail while `action` runs, counted from 1. Only calls within
/// a `LibraryCall` count.
/// @return false if there are fewer calls
bool injectFault(Fault kind, std::uint64_t number, const std::function<void()>& action);

/// A `SaverOptions::parallelFor`, the last task first.
void runTasks(std::size_t count, const std::function<void(std::size_t)>& task);

/// The distance between the states that an exhaustive test takes: 1, or the number in the
/// environment variable `MEKAPI2_TEST_STRIDE`.
std::size_t stateStride();

/// The call that fails after that of this number. The first 32 calls fail one after the other.
std::uint64_t nextCall(std::uint64_t number);

/// While it lives, calls are those of the library and not of the test.
class LibraryCall {
public:
    LibraryCall();
    LibraryCall(const LibraryCall&) = delete;
    LibraryCall& operator=(const LibraryCall&) = delete;
    ~LibraryCall();
};

/// Number of allocations that are not freed.
std::int64_t liveAllocations();

/// Bytes that `operator new` has returned since the start of the process.
std::int64_t allocatedBytes();

struct RecordedWrite {
    std::string path;
    std::uint64_t position; ///< in the file
    std::string bytes;
};

/// Number of writes that `recordWrites` has recorded so far.
std::size_t recordedWrites();

/// All writes of the library to files while `action` runs, in the order of time.
std::vector<RecordedWrite> recordWrites(const std::function<void()>& action);

} // namespace Testing
