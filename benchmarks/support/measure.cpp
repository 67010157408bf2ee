#include "support/measure.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace Bench {

namespace {

double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

} // namespace

void Stopwatch::start() {
    started_ = Clock::now();
    processorStarted_ = processorTime();
}

void Stopwatch::stop() {
    seconds_ += std::chrono::duration<double>(Clock::now() - started_).count();
    processorSeconds_ += processorTime() - processorStarted_;
}

std::uint64_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024; // ru_maxrss is in KiB
}

template <class T>
T median(std::vector<T> values) {
    std::sort(values.begin(), values.end());
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

template double median(std::vector<double>);
template std::uint64_t median(std::vector<std::uint64_t>);

} // namespace Bench
