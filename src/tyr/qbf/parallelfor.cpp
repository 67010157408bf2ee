#include "tyr/qbf/parallelfor.hpp"

#include "tyr/exception/raise.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>

namespace TyrQbf {

namespace {

/// The tasks of one call, shared by all threads.
class TaskRun {
public:
    explicit TaskRun(const std::function<void(std::size_t)>& function) : task(function) {}

    /// After an error, the tasks that have not begun are skipped.
    void Run(std::size_t index) noexcept {
        if (!hasFailed) {
            const int errnoOfApplication = errno;
            errno = 0;
            try {
                task(index);
            } catch (...) {
                if (!hasFailed.exchange(true)) {
                    errorNumber = errno;
                    error = std::current_exception();
                }
            }
            errno = errnoOfApplication;
        }
        ++ended; // after this, the calling thread may read the error
    }

    void Finish(std::size_t count) const {
        if (ended != count) {
            TYR_RAISE(Tyr::Exception::MiscelleneousException("Not all tasks were run"));
        }
        if (error != nullptr) {
            errno = errorNumber; // of the thread that failed; callers look up the reason
            std::rethrow_exception(error);
        }
    }

private:
    const std::function<void(std::size_t)>& task;
    std::atomic<bool> hasFailed{false};
    std::atomic<std::size_t> ended{0};
    std::exception_ptr error{};
    int errorNumber = 0;
};

} // namespace

void RunTasks(const ParallelFor& parallelFor, std::size_t count,
              const std::function<void(std::size_t)>& task) {
    TaskRun tasks(task);
    if (parallelFor) {
        parallelFor(count, [&tasks](std::size_t index) { tasks.Run(index); });
    } else {
        for (std::size_t index = 0; index < count; ++index) {
            tasks.Run(index);
        }
    }
    tasks.Finish(count);
}

void CopyBytes(const void* source, std::size_t size, void* target, const ParallelFor& parallelFor) {
    constexpr std::size_t partSize = std::size_t{1} << 20;
    const std::size_t parts = (size + partSize - 1) / partSize;
    if (!parallelFor || parts < 2) {
        if (size != 0) { // null pointers are not valid for `memcpy`
            std::memcpy(target, source, size);
        }
        return;
    }
    const auto* const from = static_cast<const unsigned char*>(source);
    auto* const to = static_cast<unsigned char*>(target);
    RunTasks(parallelFor, parts, [&](std::size_t part) {
        const std::size_t first = part * partSize;
        std::memcpy(to + first, from + first, std::min(partSize, size - first));
    });
}

} // namespace TyrQbf
