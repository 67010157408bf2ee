/// @file
/// Time against size: what grows faster than the model? Each measurement runs in a process of its
/// own, and of each the median is told: of the processor's time, since none of the works waits for
/// anything but the disk cache. Prints a table; tells its progress on the error stream.

#include "mekreader/container.hpp"
#include "scale/works.hpp"
#include "support/childprocess.hpp"
#include "support/measure.hpp"
#include "support/report.hpp"

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

using namespace Bench;
namespace fs = std::filesystem;

constexpr std::uint32_t largeCount = 1000000;

struct Options {
    std::string title{}; ///< empty: all works
    int rounds = 5;
    fs::path folder = fs::temp_directory_path();
    std::string figures{};
};

/// Seconds that bare `compress2` takes for the content of all blocks of a file.
double bareCompressionTime(const fs::path& path) {
    MekReader::Container container(path);
    double seconds = 0;
    for (const MekReader::Block& block : container.blocks()) {
        if (!block.isCompressed()) {
            continue;
        }
        std::string content;
        container.expand(block, [&content](std::string_view piece) { content += piece; });
        seconds += processorSecondsOf([&content] {
            uLongf size = compressBound(content.size());
            const std::unique_ptr<Bytef[]> packed(new Bytef[size]);
            compress2(packed.get(), &size, reinterpret_cast<const Bytef*>(content.data()),
                      content.size(), 6);
        });
    }
    return seconds;
}

/// Runs `measure` on a file of its own, in a process of its own, `rounds` times.
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

std::map<std::uint32_t, double> measure(const ScaleWork& work, const Options& options) {
    std::map<std::uint32_t, double> seconds;
    for (const std::uint32_t count : work.counts) {
        std::fprintf(stderr, "scale: %s, %u\n", work.title.c_str(), count);
        seconds[count] =
            medianOf(options, [&](const std::string& file) { return work.run(count, file); });
    }
    return seconds;
}

/// The same work against `compress2` of what it writes, both in one process.
void judgeAgainstCompression(const ScaleWork& work, double limit, const Options& options,
                             Figures& figures) {
    std::fprintf(stderr, "scale: %s, against compress2\n", work.title.c_str());
    const double ratio = medianOf(options, [&](const std::string& file) {
        const double seconds = work.run(largeCount, file);
        return seconds / bareCompressionTime(file);
    });
    figures.atMost("10^6 " + work.title + ", open to close", limit, ratio,
                   " x compress2 of its streams");
}

void scaleAll(const Options& options) {
    Table table("Seconds of the processor at growing sizes (median of " +
                    std::to_string(options.rounds) + ")",
                {"work", "10^3", "10^4", "10^5", "10^6", "last step"});
    Figures figures;
    for (const ScaleWork& work : scaleWorks()) {
        if (!options.title.empty() && work.title != options.title) {
            continue;
        }
        const std::map<std::uint32_t, double> seconds = measure(work, options);
        std::vector<std::string> cells = {work.title};
        for (const std::uint32_t count : {1000U, 10000U, 100000U, largeCount}) {
            const auto found = seconds.find(count);
            cells.push_back(found != seconds.end() ? fixed(found->second, 3) : "");
        }
        const double growth = seconds.rbegin()->second / std::next(seconds.rbegin())->second;
        cells.push_back("x " + fixed(growth, 1));
        table.addRow(cells);
        figures.atMost("10 x the " + work.title, 12, growth, " x the time");
        if (work.title == "groups by addNode") {
            judgeAgainstCompression(work, 3, options, figures);
        } else if (work.title == "steps linked to one array") {
            judgeAgainstCompression(work, 4, options, figures);
        }
    }
    table.print();
    figures.appendTo(options.figures);
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        const std::string value = argv[i + 1];
        if (name == "--work") {
            options.title = value;
        } else if (name == "--rounds") {
            options.rounds = std::atoi(value.c_str());
        } else if (name == "--folder") {
            options.folder = value;
        } else if (name == "--figures") {
            options.figures = value;
        } else {
            throw std::runtime_error("unknown option " + name);
        }
    }
    return options;
}

} // namespace

int main(int argc, char** argv) {
    try {
        scaleAll(parse(argc, argv));
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(
            stderr,
            "scale: %s\n"
            "usage: scale [--work TITLE] [--rounds N] [--folder FOLDER] [--figures FILE]\n",
            failure.what());
        return EXIT_FAILURE;
    }
}
