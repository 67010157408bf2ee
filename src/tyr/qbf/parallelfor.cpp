#include "tyr/qbf/parallelfor.hpp"

#include "tyr/exception/raise.hpp"

#include <atomic>
#include <exception>

namespace TyrQbf {

namespace {

/// The tasks of one call, shared by all threads.
class TaskRun {
public:
    explicit TaskRun(const std::function<void(std::size_t)>& task) : task_(task) {}

    /// After an error, the tasks that have not begun are skipped.
    void run(std::size_t index) noexcept {
        if (!hasFailed_) {
            try {
                task_(index);
            } catch (...) {
                if (!hasFailed_.exchange(true)) {
                    error_ = std::current_exception();
                }
            }
        }
        ++ended_; // after this, the calling thread may read the error
    }

    void finish(std::size_t count) const {
        if (ended_ != count) {
            TYR_RAISE(Tyr::Exception::MiscelleneousException("Not all tasks were run"));
        }
        if (error_ != nullptr) {
            std::rethrow_exception(error_);
        }
    }

private:
    const std::function<void(std::size_t)>& task_;
    std::atomic<bool> hasFailed_{false};
    std::atomic<std::size_t> ended_{0};
    std::exception_ptr error_{};
};

} // namespace

void RunTasks(const ParallelFor& parallelFor, std::size_t count,
              const std::function<void(std::size_t)>& task) {
    TaskRun tasks(task);
    if (parallelFor) {
        parallelFor(count, [&tasks](std::size_t index) { tasks.run(index); });
    } else {
        for (std::size_t index = 0; index < count; ++index) {
            tasks.run(index);
        }
    }
    tasks.finish(count);
}

} // namespace TyrQbf
