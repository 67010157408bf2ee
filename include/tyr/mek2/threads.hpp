/// @file
/// Threads for `SaverOptions::parallelFor`, for applications without a thread pool.
///
/// Compiled into the application, which needs the thread library of its system; with CMake, link
/// `Threads::Threads`. The library itself starts no thread.
///
/// @code
/// #include <tyr/mek2/model.hpp>
/// #include <tyr/mek2/threads.hpp>
///
/// int main() {
///     Tyr::Mek2::SaverOptions options{true};
///     options.parallelFor = Tyr::Mek2::parallelForThreads(4);
///     Tyr::Mek2::Model model;
///     model.saveTo("threads.mek", options);
///     model.close();
/// }
/// @endcode
#pragma once

#include <tyr/mek2/saveroptions.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <thread>
#include <vector>

namespace Tyr::Mek2 {

/// A function that runs tasks on the calling thread and on `threads - 1` new threads, which end
/// before it returns. If a thread cannot start, the others run all tasks.
/// @param threads 0: one per processor
inline ParallelFor parallelForThreads(unsigned int threads = 0) {
    const unsigned int wanted = threads != 0 ? threads : std::thread::hardware_concurrency();
    return [wanted](std::size_t count, const std::function<void(std::size_t)>& task) {
        std::atomic<std::size_t> next{0};
        const auto work = [&] {
            for (std::size_t index = next++; index < count; index = next++) {
                task(index);
            }
        };
        std::vector<std::thread> others;
        const std::size_t most = std::min<std::size_t>(wanted, count);
        try {
            others.reserve(most);
            while (others.size() + 1 < most) {
                others.emplace_back(work);
            }
        } catch (const std::exception&) {
            // no thread or no memory for it; the threads that run do all the work
        }
        work();
        for (std::thread& other : others) {
            other.join();
        }
    };
}

} // namespace Tyr::Mek2
