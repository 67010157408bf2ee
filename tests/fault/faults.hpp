/// @file
/// Makes a single call of the system, the allocator or the compression fail, by wrapping it at
/// link time.
///
/// Streams are real ones of the C library over a file, so that buffering, short writes and the
/// error that a stream keeps are real as well. Without a fault in wait nothing is changed but the
/// clock, which stands still.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace Testing {

enum class Fault {
    Open,           ///< the file cannot be opened
    Write,          ///< the system takes none of the bytes
    ShortWrite,     ///< the system takes half of the bytes
    Seek,           ///< the file position cannot be set
    Flush,          ///< a write within `fflush` fails
    Close,          ///< the system reports a failure when the file is closed
    Malloc,         ///< no memory
    Realloc,        ///< no memory
    New,            ///< no memory
    CompressMemory, ///< no memory inside of the compression
    Compress,       ///< the compression fails for another reason
    Kill            ///< the process is killed in the middle of a write
};

/// While it lives the `number`-th call of a kind fails, counted from 1. Only calls within a
/// `LibraryCall` count.
class Injection {
public:
    Injection(Fault kind, std::uint64_t number);
    Injection(const Injection&) = delete;
    Injection& operator=(const Injection&) = delete;
    ~Injection();

    /// There were as many calls.
    static bool hasStruck();
};

/// Marks what is a call of the library and not the test's own.
class LibraryCall {
public:
    LibraryCall();
    LibraryCall(const LibraryCall&) = delete;
    LibraryCall& operator=(const LibraryCall&) = delete;
    ~LibraryCall();
};

/// Memory that was taken and not given back, in pieces.
std::int64_t heldAllocations();

/// All bytes that `operator new` has given so far.
std::int64_t givenBytes();

/// While it lives all writes are noted in the order of time: their positions in the file, and the
/// bytes.
class WriteRecorder {
public:
    WriteRecorder();
    WriteRecorder(const WriteRecorder&) = delete;
    WriteRecorder& operator=(const WriteRecorder&) = delete;
    ~WriteRecorder();

    std::vector<std::pair<std::uint64_t, std::string>> writes;
};

} // namespace Testing
