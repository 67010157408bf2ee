/// @file
/// Time and peak memory of a process.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace Bench {

/// Adds up wall-clock time and CPU time between `start` and `stop`.
class Stopwatch {
public:
    void start();
    void stop();
    double seconds() const { return seconds_; }

    /// CPU time of this process, user and system. Other processes disturb it far less than they
    /// disturb the wall clock.
    double processorSeconds() const { return processorSeconds_; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point started_{};
    double processorStarted_ = 0;
    double seconds_ = 0;
    double processorSeconds_ = 0;
};

/// CPU seconds of `action`.
template <class Action>
double processorSecondsOf(const Action& action) {
    Stopwatch stopwatch;
    stopwatch.start();
    action();
    stopwatch.stop();
    return stopwatch.processorSeconds();
}

/// Largest resident size of this process so far, in bytes.
std::uint64_t peakMemory();

/// The median of one or more values.
template <class T>
T median(std::vector<T> values);

extern template double median(std::vector<double>);
extern template std::uint64_t median(std::vector<std::uint64_t>);

} // namespace Bench
