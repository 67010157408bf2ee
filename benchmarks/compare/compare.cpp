/// @file
/// The same work through the floor, this library, HDF5 and VTK: each in a process of its own, taken
/// in turn, and of each the median. Prints tables; tells its progress on the error stream.

#include "compare/works.hpp"
#include "support/childprocess.hpp"
#include "support/measure.hpp"
#include "support/report.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
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
const std::string hdf5Name = "HDF5";
const std::string contiguousName = "HDF5, contiguous";
const std::string vtkName = "VTK";

struct Contestant {
    std::string name;
    fs::path program;
    std::string variant{};
};

/// What is compared in one work.
struct Comparison {
    std::string work;
    std::vector<std::string> contestants;
};

/// VTK takes no part in `small`: its user would write 100,000 files.
const std::vector<Comparison> comparisons = {
    {"bulk-150", {floorName, libraryName, libdeflateName, hdf5Name, vtkName}},
    {"bulk-1000", {floorName, libraryName, libdeflateName, hdf5Name, vtkName}},
    {"bulk-steps", {floorName, libraryName, libdeflateName, hdf5Name, vtkName}},
    {"small", {floorName, libraryName, libdeflateName, hdf5Name, contiguousName}},
    {"one-array", {floorName, libraryName, libdeflateName, hdf5Name, vtkName}},
    {"stream", {libraryName, libdeflateName}},
};

struct Options {
    std::string work{}; ///< empty: all of them
    int rounds = 5;
    fs::path libdeflate{}; ///< `write_library` of a build with libdeflate
    fs::path folder = fs::temp_directory_path();
    std::string figures{};
};

/// Of one contestant, the middle of what its runs told.
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

void runOnce(const Contestant& contestant, const std::string& work, const fs::path& folder,
             Result& result) {
    const fs::path file = folder / ("mekapi2-compare-" + std::to_string(std::rand()));
    std::istringstream told(
        outputOf({contestant.program, work, file.string(), contestant.variant}));
    fs::remove(file);
    double seconds = 0;
    double processorSeconds = 0;
    std::uint64_t peakMemory = 0;
    if (!(told >> seconds >> processorSeconds >> result.fileSize >> peakMemory)) {
        throw std::runtime_error(contestant.name + " told nothing");
    }
    result.seconds.push_back(seconds);
    result.processorSeconds.push_back(processorSeconds);
    result.peakMemory = std::max(result.peakMemory, peakMemory);
}

Results run(const Comparison& comparison, const std::vector<Contestant>& contestants,
            const Options& options) {
    Results results;
    for (int round = 1; round <= options.rounds; ++round) {
        for (const Contestant& contestant : contestants) {
            std::fprintf(stderr, "compare: %s, round %d of %d, %s\n", comparison.work.c_str(),
                         round, options.rounds, contestant.name.c_str());
            runOnce(contestant, comparison.work, options.folder, results[contestant.name]);
        }
    }
    return results;
}

void print(const Work& work, const std::vector<Contestant>& contestants, const Results& results) {
    const double size = static_cast<double>(work.sizeInBytes());
    const auto rounds = results.begin()->second.seconds.size();
    Table table(work.title + " (" + fixed(size / megabyte, 0) + " MB; median of " +
                    std::to_string(rounds) + ")",
                {"written with", "seconds", "spread", "of the processor", "MB/s", "x floor",
                 "file, MB", "peak above input, MiB"});
    for (const Contestant& contestant : contestants) {
        const Result& result = results.at(contestant.name);
        const auto floor = results.find(floorName);
        table.addRow(
            {contestant.name, fixed(result.time(), 2), fixed(100 * result.spread(), 0) + " %",
             fixed(median(result.processorSeconds), 2), fixed(size / megabyte / result.time(), 0),
             floor != results.end() ? fixed(result.time() / floor->second.time(), 2) : "-",
             fixed(static_cast<double>(result.fileSize) / megabyte, 1),
             fixed(static_cast<double>(result.peakMemory) / mebibyte, 0)});
    }
    table.print();
}

/// Adds figures on times and sizes of the contestants that took part.
class Judge {
public:
    Judge(Figures& figures, const Results& results) : figures_(figures), results_(results) {}

    void time(const std::string& work, double limit, const std::string& name,
              const std::string& other) {
        compare(work + ", time", limit, name, other, [](const Result& r) { return r.time(); });
    }
    void file(const std::string& work, double limit, const std::string& name,
              const std::string& other) {
        compare(work + ", file", limit, name, other,
                [](const Result& r) { return static_cast<double>(r.fileSize); });
    }

private:
    template <class Measure>
    void compare(const std::string& what, double limit, const std::string& name,
                 const std::string& other, const Measure& measure) {
        if (results_.count(name) != 0 && results_.count(other) != 0) {
            figures_.atMost(what + ": " + name, limit,
                            measure(results_.at(name)) / measure(results_.at(other)),
                            " x " + other);
        }
    }

    Figures& figures_;
    const Results& results_;
};

void judge(const std::string& work, const Results& results, Figures& figures) {
    Judge judge(figures, results);
    const double peak = static_cast<double>(results.at(libraryName).peakMemory) / mebibyte;
    const std::map<std::string, std::string> bulk = {{"bulk-150", "bulk, 150 MB"},
                                                     {"bulk-1000", "bulk, 1 GB"},
                                                     {"bulk-steps", "bulk, 1 GB in 27 steps"}};
    if (bulk.count(work) != 0) {
        const std::string& title = bulk.at(work);
        judge.time(title, 1.05, libraryName, floorName);
        judge.time(title, 0.55, libraryName, vtkName);
        judge.time(title, 0.75, libdeflateName, hdf5Name);
        judge.file(title, 0.93, libraryName, hdf5Name);
        judge.file(title, 0.70, libraryName, vtkName);
    } else if (work == "small") {
        judge.time("small", 1.0 / 8, libraryName, hdf5Name);
        judge.time("small", 2.5, libraryName, floorName);
        judge.file("small", 1.0 / 15, libraryName, hdf5Name);
    } else if (work == "one-array") {
        const double compressed = static_cast<double>(results.at(libraryName).fileSize) / mebibyte;
        figures.atMost("one array of 1 GiB, peak above it (copy, block, compressed, 64 MiB)",
                       1024 + 1024 + compressed + 64, peak, " MiB");
    } else if (work == "stream") {
        figures.atMost("2 GiB in arrays of 50 MiB, peak above one", 450, peak, " MiB");
    }
}

/// Those of a comparison whose programs are there.
std::vector<Contestant> present(const Comparison& comparison, const fs::path& programs,
                                const Options& options) {
    const std::vector<Contestant> all = {{floorName, programs / "write_floor"},
                                         {libraryName, programs / "write_library"},
                                         {libdeflateName, options.libdeflate},
                                         {hdf5Name, programs / "write_hdf5"},
                                         {contiguousName, programs / "write_hdf5", "contiguous"},
                                         {vtkName, programs / "write_vtk"}};
    std::vector<Contestant> found;
    for (const Contestant& contestant : all) {
        const auto& names = comparison.contestants;
        if (std::find(names.begin(), names.end(), contestant.name) != names.end() &&
            fs::exists(contestant.program)) {
            found.push_back(contestant);
        }
    }
    return found;
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        const std::string value = argv[i + 1];
        if (name == "--work") {
            options.work = value;
        } else if (name == "--rounds") {
            options.rounds = std::atoi(value.c_str());
        } else if (name == "--libdeflate") {
            options.libdeflate = value;
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

void compareAll(int argc, char** argv) {
    const Options options = parse(argc, argv);
    const fs::path programs = fs::canonical("/proc/self/exe").parent_path();
    Figures figures;
    for (const Comparison& comparison : comparisons) {
        if (!options.work.empty() && options.work != comparison.work) {
            continue;
        }
        const std::vector<Contestant> contestants = present(comparison, programs, options);
        const Results results = run(comparison, contestants, options);
        print(workNamed(comparison.work), contestants, results);
        judge(comparison.work, results, figures);
    }
    figures.appendTo(options.figures);
}

} // namespace

int main(int argc, char** argv) {
    try {
        compareAll(argc, argv);
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(stderr,
                     "compare: %s\n"
                     "usage: compare [--work NAME] [--rounds N] [--libdeflate WRITE_LIBRARY]\n"
                     "               [--folder FOLDER] [--figures FILE]\n",
                     failure.what());
        return EXIT_FAILURE;
    }
}
