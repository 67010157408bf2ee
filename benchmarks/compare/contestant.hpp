/// @file
/// The frame of the programs that are compared. Each does one work once, in a process of its own,
/// and prints what it measured:
///
///     write_NAME WORK FILE [VARIANT]
///
/// A `Writer` opens the file when it is made (path, variant), takes the arrays one after the other
/// (`add`), and has handed over every byte when `close` returns. `Writer::Input` is how a user of
/// it holds an array: it is made from a `Dataset`, and `fill` gives it another content.
#pragma once

#include "compare/works.hpp"
#include "support/measure.hpp"

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

namespace Bench {

/// An array as plain memory.
class PlainInput {
public:
    explicit PlainInput(const Dataset& dataset)
        : values_(new std::uint32_t[static_cast<std::size_t>(dataset.valueCount())]) {
        fill(dataset);
    }
    void fill(const Dataset& dataset) { dataset.fill(values_.get()); }
    void* data() { return values_.get(); }

private:
    std::unique_ptr<std::uint32_t[]> values_;
};

template <class Writer>
void doWork(const Work& work, const std::string& path, const std::string& variant) {
    std::deque<typename Writer::Input> inputs;
    for (const Dataset& dataset : work.datasets) {
        if (inputs.empty() || work.holdsInput) {
            inputs.emplace_back(dataset);
        }
    }
    const std::uint64_t peakOfInput = peakMemory();

    Stopwatch stopwatch;
    stopwatch.start();
    Writer writer(path, variant);
    for (std::size_t i = 0; i < work.datasets.size(); ++i) {
        auto& input = work.holdsInput ? inputs[i] : inputs.front();
        if (!work.holdsInput) {
            stopwatch.stop();
            input.fill(work.datasets[i]);
            stopwatch.start();
        }
        writer.add(work.datasets[i], input);
    }
    writer.close();
    stopwatch.stop();
    std::printf("%.6f %.6f %llu %llu\n", stopwatch.seconds(), stopwatch.processorSeconds(),
                static_cast<unsigned long long>(std::filesystem::file_size(path)),
                static_cast<unsigned long long>(peakMemory() - peakOfInput));
}

template <class Writer>
int contestantMain(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: %s WORK FILE [VARIANT]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        doWork<Writer>(workNamed(argv[1]), argv[2], argc > 3 ? argv[3] : "");
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return EXIT_FAILURE;
    }
}

} // namespace Bench
