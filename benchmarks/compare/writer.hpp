/// @file
/// The main function of the compared programs. Each writes one workload once and prints its
/// measurements:
///
///     write_NAME WORKLOAD FILE [VARIANT]
///
/// A `Writer` is constructed from path and variant and opens the file. `add` takes one array;
/// the system has every byte when `close` returns. `Writer::Input` is the type in
/// which a user of that writer holds an array: constructed from a `Dataset`, refilled by `fill`.
#pragma once

#include "compare/workloads.hpp"
#include "support/measure.hpp"

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>

namespace Bench {

/// An array in plain memory.
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
void writeWorkload(const Workload& workload, const std::string& path, const std::string& variant) {
    std::deque<typename Writer::Input> inputs;
    for (const Dataset& dataset : workload.datasets) {
        if (inputs.empty() || workload.holdsInput) {
            inputs.emplace_back(dataset);
        }
    }
    const std::uint64_t peakOfInput = peakMemory();

    Stopwatch stopwatch;
    stopwatch.start();
    Writer writer(path, variant);
    for (std::size_t i = 0; i < workload.datasets.size(); ++i) {
        auto& input = workload.holdsInput ? inputs[i] : inputs.front();
        if (!workload.holdsInput) {
            stopwatch.stop();
            input.fill(workload.datasets[i]);
            stopwatch.start();
        }
        writer.add(workload.datasets[i], input);
    }
    writer.close();
    stopwatch.stop();
    std::printf("%.6f %.6f %llu %llu\n", stopwatch.seconds(), stopwatch.processorSeconds(),
                static_cast<unsigned long long>(std::filesystem::file_size(path)),
                static_cast<unsigned long long>(peakMemory() - peakOfInput));
}

template <class Writer>
int writerMain(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: %s WORKLOAD FILE [VARIANT]\n", argv[0]);
        return EXIT_FAILURE;
    }
    try {
        writeWorkload<Writer>(workloadNamed(argv[1]), argv[2], argc > 3 ? argv[3] : "");
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
}

} // namespace Bench
