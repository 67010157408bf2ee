/// @file
/// Runs each workload through the floor, this library, HDF5 and VTK, in turn, each time in a new
/// process. Prints tables of medians to the standard output and its progress to the error stream.

#include "compare/workloads.hpp"
#include "support/childprocess.hpp"
#include "support/measure.hpp"
#include "support/program.hpp"
#include "support/report.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

using namespace Bench;
namespace fs = std::filesystem;

constexpr double mebibyte = 1024 * 1024;
constexpr double megabyte = 1e6;

const std::string floorName = "floor";
const std::string libraryName = "MekApi2";
const std::string libdeflateName = "MekApi2, libdeflate";
const std::string oneThreadName = "MekApi2, 1 thread";
const std::string twoThreadsName = "MekApi2, 2 threads";
const std::string fourThreadsName = "MekApi2, 4 threads";
const std::string libdeflateOneThreadName = "MekApi2, libdeflate, 1 thread";
const std::string libdeflateTwoThreadsName = "MekApi2, libdeflate, 2 threads";
const std::string hdf5Name = "HDF5";
const std::string contiguousName = "HDF5, contiguous";
const std::string vtkName = "VTK";

struct Writer {
    std::string name;
    fs::path program;
    std::string variant{};
};

/// One workload and the writers that run it.
struct Comparison {
    std::string workload;
    std::vector<std::string> writers;
};

const std::vector<std::string> bulkWriters = {
    floorName,       libraryName,    oneThreadName,           twoThreadsName,
    fourThreadsName, libdeflateName, libdeflateOneThreadName, libdeflateTwoThreadsName,
    hdf5Name,        vtkName};

/// `small` is not run with VTK, which would need 100,000 files.
const std::vector<Comparison> comparisons = {
    {"bulk-150", bulkWriters},
    {"bulk-1000", bulkWriters},
    {"bulk-steps", bulkWriters},
    {"small", {floorName, libraryName, libdeflateName, hdf5Name, contiguousName}},
    {"one-array", {floorName, libraryName, libdeflateName, hdf5Name, vtkName}},
    {"stream", {libraryName, twoThreadsName, libdeflateName}},
    {"block", {libraryName, oneThreadName, twoThreadsName, fourThreadsName}},
};

/// The measurements of one writer, one element per round.
struct Result {
    std::vector<double> seconds;
    std::vector<double> processorSeconds;
    std::uint64_t fileSize = 0;
    std::uint64_t peakMemory = 0;

    double time() const { return median(seconds); }
    double spread() const {
        const auto [least, most] = std::minmax_element(seconds.begin(), seconds.end());
        return (*most - *least) / time();
    }
};
using Results = std::map<std::string, Result>;

void runOnce(const Writer& writer, const std::string& workload, const fs::path& folder,
             Result& result) {
    const fs::path file = folder / ("mekapi2-compare-" + std::to_string(std::rand()));
    std::istringstream output(outputOf({writer.program, workload, file.string(), writer.variant}));
    fs::remove(file);
    double seconds = 0;
    double processorSeconds = 0;
    std::uint64_t peakMemory = 0;
    if (!(output >> seconds >> processorSeconds >> result.fileSize >> peakMemory)) {
        throw std::runtime_error("no measurement from " + writer.name);
    }
    result.seconds.push_back(seconds);
    result.processorSeconds.push_back(processorSeconds);
    result.peakMemory = std::max(result.peakMemory, peakMemory);
}

Results run(const Comparison& comparison, const std::vector<Writer>& writers,
            const Options& options) {
    Results results;
    for (int round = 1; round <= options.rounds; ++round) {
        for (const Writer& writer : writers) {
            std::fprintf(stderr, "compare: %s, round %d of %d, %s\n", comparison.workload.c_str(),
                         round, options.rounds, writer.name.c_str());
            runOnce(writer, comparison.workload, options.folder, results[writer.name]);
        }
    }
    return results;
}

void print(const Workload& workload, const std::vector<Writer>& writers, const Results& results) {
    const double size = static_cast<double>(workload.sizeInBytes());
    const auto rounds = results.begin()->second.seconds.size();
    Table table(workload.title + " (" + fixed(size / megabyte, 0) + " MB; median of " +
                    std::to_string(rounds) + ")",
                {"writer", "seconds", "spread", "CPU seconds", "MB/s", "x floor", "file, MB",
                 "peak above input, MiB"});
    for (const Writer& writer : writers) {
        const Result& result = results.at(writer.name);
        const auto floor = results.find(floorName);
        table.addRow({writer.name, fixed(result.time(), 2), fixed(100 * result.spread(), 0) + " %",
                      fixed(median(result.processorSeconds), 2),
                      fixed(size / megabyte / result.time(), 0),
                      floor != results.end() ? fixed(result.time() / floor->second.time(), 2) : "-",
                      fixed(static_cast<double>(result.fileSize) / megabyte, 1),
                      fixed(static_cast<double>(result.peakMemory) / mebibyte, 0)});
    }
    table.print();
}

/// Adds the ratio of two writers' results, if both were measured.
class RatioList {
public:
    RatioList(Figures& figures, const Results& results) : figures_(figures), results_(results) {}

    void time(const std::string& title, const std::string& name, const std::string& other,
              const std::string& target = "") {
        add(
            title + ", time", name, other, [](const Result& r) { return r.time(); }, target);
    }
    /// How many times as fast the first writer is: the median of the ratios of the rounds, since
    /// the speed of a shared machine changes between rounds.
    void speed(const std::string& title, const std::string& name, const std::string& other,
               const std::string& target) {
        if (!isMeasured(name, other)) {
            return;
        }
        std::vector<double> ratios;
        for (std::size_t round = 0; round < results_.at(name).seconds.size(); ++round) {
            ratios.push_back(results_.at(other).seconds[round] / results_.at(name).seconds[round]);
        }
        figures_.add(title + ", speed: " + name, median(ratios), " x " + other, target);
    }
    void processorTime(const std::string& title, const std::string& name,
                       const std::string& other) {
        add(title + ", CPU time", name, other,
            [](const Result& r) { return median(r.processorSeconds); });
    }
    void file(const std::string& title, const std::string& name, const std::string& other,
              const std::string& target = "") {
        add(
            title + ", file", name, other,
            [](const Result& r) { return static_cast<double>(r.fileSize); }, target);
    }

private:
    bool isMeasured(const std::string& name, const std::string& other) const {
        return results_.count(name) != 0 && results_.count(other) != 0;
    }

    template <class Measure>
    void add(const std::string& what, const std::string& name, const std::string& other,
             const Measure& measure, const std::string& target = "") {
        if (isMeasured(name, other)) {
            figures_.add(what + ": " + name,
                         measure(results_.at(name)) / measure(results_.at(other)), " x " + other,
                         target);
        }
    }

    Figures& figures_;
    const Results& results_;
};

void addFigures(const std::string& workload, const Results& results, Figures& figures) {
    RatioList ratios(figures, results);
    const double peak = static_cast<double>(results.at(libraryName).peakMemory) / mebibyte;
    const std::map<std::string, std::string> bulk = {{"bulk-150", "bulk, 150 MB"},
                                                     {"bulk-1000", "bulk, 1 GB"},
                                                     {"bulk-steps", "bulk, 1 GB in 27 steps"}};
    if (bulk.count(workload) != 0) {
        const std::string& title = bulk.at(workload);
        ratios.time(title, libraryName, floorName, "at most 1.1");
        ratios.time(title, libraryName, vtkName);
        ratios.time(title, libdeflateName, hdf5Name);
        ratios.file(title, libraryName, hdf5Name);
        ratios.file(title, libraryName, vtkName);
        ratios.speed(title, twoThreadsName, oneThreadName, "at least 1.85");
        ratios.speed(title, twoThreadsName, hdf5Name, "at least 1.6");
        ratios.speed(title, libdeflateTwoThreadsName, libdeflateOneThreadName, "at least 1.85");
        ratios.processorTime(title, twoThreadsName, oneThreadName);
        ratios.processorTime(title, twoThreadsName, hdf5Name);
        ratios.file(title, twoThreadsName, libraryName, "at most 1.002");
        ratios.file(title, twoThreadsName, hdf5Name);
    } else if (workload == "small") {
        ratios.time("small", libraryName, hdf5Name);
        ratios.time("small", libraryName, floorName);
        ratios.file("small", libraryName, hdf5Name);
    } else if (workload == "one-array") {
        figures.add("one array of 1 GiB, peak memory above it: MekApi2", peak, " MiB");
    } else if (workload == "stream") {
        figures.add("2 GiB in arrays of 50 MiB, peak memory above one: MekApi2", peak, " MiB");
    } else if (workload == "block") {
        const double parallel = static_cast<double>(results.at(twoThreadsName).peakMemory);
        figures.add("one block of 200 MiB, peak memory: MekApi2", peak * mebibyte / megabyte,
                    " MB");
        figures.add("one block of 200 MiB, peak memory: MekApi2, 2 threads", parallel / megabyte,
                    " MB", "at most 260");
    }
}

/// The writers of a comparison whose programs exist.
std::vector<Writer> present(const Comparison& comparison, const fs::path& programs,
                            const fs::path& libdeflate) {
    const std::vector<Writer> all = {{floorName, programs / "write_floor"},
                                     {libraryName, programs / "write_library"},
                                     {oneThreadName, programs / "write_library", "1"},
                                     {twoThreadsName, programs / "write_library", "2"},
                                     {fourThreadsName, programs / "write_library", "4"},
                                     {libdeflateName, libdeflate},
                                     {libdeflateOneThreadName, libdeflate, "1"},
                                     {libdeflateTwoThreadsName, libdeflate, "2"},
                                     {hdf5Name, programs / "write_hdf5"},
                                     {contiguousName, programs / "write_hdf5", "contiguous"},
                                     {vtkName, programs / "write_vtk"}};
    std::vector<Writer> found;
    for (const Writer& writer : all) {
        const auto& names = comparison.writers;
        if (std::find(names.begin(), names.end(), writer.name) != names.end() &&
            fs::exists(writer.program)) {
            found.push_back(writer);
        }
    }
    return found;
}

/// @param workload empty: all of them
/// @param libdeflate `write_library` of a build with libdeflate
void compareAll(const Options& options, const std::string& workload, const fs::path& libdeflate) {
    const fs::path programs = fs::canonical("/proc/self/exe").parent_path();
    Figures figures;
    for (const Comparison& comparison : comparisons) {
        if (!workload.empty() && workload != comparison.workload) {
            continue;
        }
        const std::vector<Writer> writers = present(comparison, programs, libdeflate);
        const Results results = run(comparison, writers, options);
        print(workloadNamed(comparison.workload), writers, results);
        addFigures(comparison.workload, results, figures);
    }
    figures.appendTo(options.figures);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    std::string workload;
    std::string libdeflate;
    return runProgram(argc, argv, options,
                      {{"--workload", workload, "the only workload"},
                       {"--libdeflate", libdeflate, "write_library of a build with libdeflate"}},
                      [&] { compareAll(options, workload, libdeflate); });
}
