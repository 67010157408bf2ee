#include "tyr/qbf/parallelfor.hpp"

#include "tyr/exception/raise.hpp"

#include <atomic>
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
            try {
                task(index);
            } catch (...) {
                if (!hasFailed.exchange(true)) {
                    error = std::current_exception();
                }
            }
        }
        ++ended; // after this, the calling thread may read the error
    }

    void Finish(std::size_t count) const {
        if (ended != count) {
            TYR_RAISE(Tyr::Exception::MiscelleneousException("Not all tasks were run"));
        }
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    }

private:
    const std::function<void(std::size_t)>& task;
    std::atomic<bool> hasFailed{false};
    std::atomic<std::size_t> ended{0};
    std::exception_ptr error{};
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

} // namespace TyrQbf
