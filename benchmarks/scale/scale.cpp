/// @file
/// Measures how time grows with the size of the model. Each measurement runs in a new process and
/// takes CPU time, since no workload waits for anything but the disk cache. Prints a table of
/// medians to the standard output and its progress to the error stream.

#include "mekreader/container.hpp"
#include "scale/workloads.hpp"
#include "support/childprocess.hpp"
#include "support/measure.hpp"
#include "support/program.hpp"
#include "support/report.hpp"

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>

namespace {

using namespace Bench;
namespace fs = std::filesystem;

constexpr std::uint32_t largeCount = 1000000;

/// CPU seconds of `compress2` on the content of all blocks of a file.
double compressionTime(const fs::path& path) {
    MekReader::Container container(path);
    double seconds = 0;
    for (const MekReader::Block& block : container.blocks()) {
        if (!block.isCompressed()) {
            continue;
        }
        std::string content;
        container.readContent(block, [&content](std::string_view piece) { content += piece; });
        seconds += processorSecondsOf([&content] {
            uLongf size = compressBound(content.size());
            const std::unique_ptr<Bytef[]> compressed(new Bytef[size]);
            compress2(compressed.get(), &size, reinterpret_cast<const Bytef*>(content.data()),
                      content.size(), 6);
        });
    }
    return seconds;
}

/// Runs `measure` `rounds` times, each time in a new process and on a new file.
template <class Measure>
double medianOf(const Options& options, const Measure& measure) {
    std::vector<double> seconds;
    for (int round = 0; round < options.rounds; ++round) {
        const fs::path file = options.folder / ("mekapi2-scale-" + std::to_string(std::rand()));
        seconds.push_back(
            std::stod(outputOfCopy([&] { return std::to_string(measure(file.string())); })));
        fs::remove(file);
    }
    return median(seconds);
}

std::map<std::uint32_t, double> measure(const ScaleWorkload& workload, const Options& options) {
    std::map<std::uint32_t, double> seconds;
    for (const std::uint32_t count : workload.counts) {
        std::fprintf(stderr, "scale: %s, %u\n", workload.title.c_str(), count);
        seconds[count] =
            medianOf(options, [&](const std::string& file) { return workload.run(count, file); });
    }
    return seconds;
}

/// Adds the ratio of a workload's time to that of `compress2` on the streams it writes. Both run in
/// one process.
void addRatioToCompression(const ScaleWorkload& workload, const Options& options,
                           Figures& figures) {
    std::fprintf(stderr, "scale: %s, against compress2\n", workload.title.c_str());
    const double ratio = medianOf(options, [&](const std::string& file) {
        const double seconds = workload.run(largeCount, file);
        return seconds / compressionTime(file);
    });
    figures.add("10^6 " + workload.title + ", `saveTo` to `close`", ratio,
                " x compress2 of its streams");
}

/// @param title empty: all workloads
void scaleAll(const Options& options, const std::string& title) {
    Table table("CPU seconds by size (median of " + std::to_string(options.rounds) + ")",
                {"workload", "10^3", "10^4", "10^5", "10^6", "growth"});
    Figures figures;
    for (const ScaleWorkload& workload : scaleWorkloads()) {
        if (!title.empty() && workload.title != title) {
            continue;
        }
        const std::map<std::uint32_t, double> seconds = measure(workload, options);
        std::vector<std::string> cells = {workload.title};
        for (const std::uint32_t count : {1000U, 10000U, 100000U, largeCount}) {
            const auto found = seconds.find(count);
            cells.push_back(found != seconds.end() ? fixed(found->second, 3) : "");
        }
        const double growth = seconds.rbegin()->second / std::next(seconds.rbegin())->second;
        cells.push_back("x " + fixed(growth, 1));
        table.addRow(cells);
        if (workload.title == "groups by addNode") {
            addRatioToCompression(workload, options, figures);
        } else if (workload.title == "steps linked to one array") {
            addRatioToCompression(workload, options, figures);
        }
    }
    table.print();
    figures.appendTo(options.figures);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    std::string title;
    return runProgram(argc, argv, options,
                      {{"--workload", title, "the title of the only workload"}},
                      [&] { scaleAll(options, title); });
}
