/// @file
/// What a benchmark measures: time, and the peak memory of its process.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace Bench {

/// Adds up the time between `start` and `stop`, on the wall clock and of the processor.
class Stopwatch {
public:
    void start();
    void stop();
    double seconds() const { return seconds_; }

    /// Time that the processor spent on this process, in it and for it. Other processes on the
    /// machine disturb it far less than the wall clock.
    double processorSeconds() const { return processorSeconds_; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point started_{};
    double processorStarted_ = 0;
    double seconds_ = 0;
    double processorSeconds_ = 0;
};

/// Seconds of the processor that `action` takes.
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

/// The middle of the values, of an even number the upper one. There must be at least one.
template <class T>
T median(std::vector<T> values);

extern template double median(std::vector<double>);
extern template std::uint64_t median(std::vector<std::uint64_t>);

} // namespace Bench
