/// @file
/// Times single operations: the byte shuffle next to `memcpy`, the `Put` of a number, a log record
/// and a small dataset.

#include "tyr/log/logsystem.hpp"
#include "tyr/mek/byteshuffle.hpp"
#include "tyr/mek/tree.hpp"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t shuffledBytes = 12 << 20; // larger than the second-level cache

void setThroughput(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void copyMemory(benchmark::State& state) {
    const std::vector<unsigned char> source(shuffledBytes, 1);
    std::vector<unsigned char> target(shuffledBytes);
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), shuffledBytes);
        benchmark::ClobberMemory();
    }
    setThroughput(state, shuffledBytes);
}
BENCHMARK(copyMemory)->Name("memcpy");

void shuffleBytes(benchmark::State& state) {
    const auto width = static_cast<std::uint8_t>(state.range(0));
    const std::vector<unsigned char> source(shuffledBytes, 1);
    std::vector<unsigned char> target(shuffledBytes);
    for (auto _ : state) {
        TyrMek::ShuffleBytes(source.data(), shuffledBytes / 4 / width, width, target.data());
        benchmark::ClobberMemory();
    }
    setThroughput(state, shuffledBytes);
}
BENCHMARK(shuffleBytes)->Name("byte shuffle, width")->Arg(1)->Arg(3)->Arg(6);

/// Starts a new index every 64 MiB to bound memory.
void putNumber(benchmark::State& state) {
    constexpr std::uint64_t streamLength = 64 << 20;
    auto index = std::make_unique<TyrQbf::Index>();
    std::uint64_t length = 0;
    for (auto _ : state) {
        index->Put("Light Data", 7U);
        length += sizeof(unsigned int);
        if (length >= streamLength) {
            state.PauseTiming();
            index = std::make_unique<TyrQbf::Index>();
            length = 0;
            state.ResumeTiming();
        }
    }
}
BENCHMARK(putNumber)->Name("Put of one number");

void logLine(benchmark::State& state) {
    std::uint64_t number = 0;
    for (auto _ : state) {
        TYR_LOG("Bench::logLine", "Writing buffer " << number++ << " to stream.");
    }
}
BENCHMARK(logLine)->Name("one log record");

/// Includes compressing and writing the blocks that get full, as in a model.
void writeDataset(benchmark::State& state) {
    const std::vector<float> values(100, 1.0F);
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "mekapi2-kernels";
    {
        TyrMek::Tree tree;
        tree.SetStreamFile(path.string(), true);
        for (auto _ : state) {
            tree.WriteStreamDataset(values.data(), static_cast<int>(values.size()), 1);
        }
    }
    std::filesystem::remove(path);
}
BENCHMARK(writeDataset)->Name("one dataset of 100 values");

} // namespace

BENCHMARK_MAIN();
