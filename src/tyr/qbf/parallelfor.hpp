/// @file
/// Work that is shared by the threads of the application.
#pragma once

#include <cstddef>
#include <functional>

namespace TyrQbf {

/// Calls `task(0)` to `task(count - 1)` in any order, on any threads, and returns when all calls
/// have returned. If it is empty, a loop on the calling thread takes its place.
using ParallelFor =
    std::function<void(std::size_t count, const std::function<void(std::size_t)>& task)>;

/// Runs tasks, which may throw, and raises the first error when all tasks have ended: a thread of
/// the application never sees an exception of the library.
/// @throws MiscelleneousException "Not all tasks were run"; exceptions of `parallelFor` and of the
///     tasks pass through
void RunTasks(const ParallelFor& parallelFor, std::size_t count,
              const std::function<void(std::size_t)>& task);

/// Copies `size` bytes; large ones in parts by tasks.
/// @param target must not overlap `source`
/// @throws as `RunTasks`; after an error, some bytes may not be copied
void CopyBytes(const void* source, std::size_t size, void* target, const ParallelFor& parallelFor);

} // namespace TyrQbf
