/// @file
/// Measures what a journal costs, what a checkpoint costs as the model grows, and how long a
/// recovery takes. Each measurement runs in a new process. The compared runs take turns. Prints
/// tables to the standard output and the progress to the error stream.

#include <tyr/mek2/model.hpp>
#include <tyr/mek2/recovery.hpp>

#include "mekreader/container.hpp"
#include "support/childprocess.hpp"
#include "support/measure.hpp"
#include "support/program.hpp"
#include "support/report.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace Bench;
using namespace Tyr::Mek2;
namespace fs = std::filesystem;

constexpr std::size_t nodeCount = 200000;

/// A smooth field with noise in the lowest bits, as results have it.
Array2d<float> field(std::size_t rows, std::size_t columns) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> noise(0, 1e-4F);
    Array2d<float> values(rows, columns);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            const auto phase = static_cast<float>(row + 7 * column) * 1e-3F;
            values(row, column) = std::sin(phase) + noise(random);
        }
    }
    return values;
}

Array1d<float> column(std::size_t rows) {
    const Array2d<float> values = field(rows, 1);
    Array1d<float> result(rows);
    for (std::size_t row = 0; row < rows; ++row) {
        result[row] = values(row, 0);
    }
    return result;
}

unsigned int open(Model& model, const std::string& path, bool journal) {
    SaverOptions options;
    options.overwrite = true;
    options.journal = journal;
    model.saveTo(path, options);
    model.addNode(NodeType::RootGroup, "model");
    return model.addNode(NodeType::Shape, "part");
}

Step stepOf(std::size_t number) {
    Step step{"step " + std::to_string(number)};
    step.attributes.set("Step", static_cast<unsigned int>(number));
    step.attributes.set("Time", 0.01F * static_cast<float>(number));
    return step;
}

void addBulk(Model& model, unsigned int part) {
    model.addArrayProperty(DatasetType::Coordinates, field(nodeCount, 3), part, Step{});
    const Array2d<float> displacement = field(nodeCount, 3);
    const Array2d<float> stress = field(nodeCount, 6);
    for (std::size_t number = 0; number < 20; ++number) {
        model.addArrayProperty(DatasetType::Displacement3, displacement, part, stepOf(number));
        model.addArrayProperty("Stress", DatasetType::ResultA6, stress, part, stepOf(number));
    }
}

void addSmall(Model& model, unsigned int part) {
    const Array1d<float> values = column(10);
    for (std::size_t number = 0; number < 100000; ++number) {
        model.addArrayProperty("Temperature", DatasetType::ResultA1, values, part, stepOf(number));
    }
}

using AddArrays = std::function<void(Model&, unsigned int)>;

struct Seconds {
    std::vector<double> wall;
    std::vector<double> processor;
};

/// Adds one measurement of a whole write cycle.
void measure(const AddArrays& add, const std::string& path, bool journal, Seconds& seconds) {
    std::istringstream output(outputOfCopy([&] {
        Stopwatch stopwatch;
        stopwatch.start();
        Model model;
        add(model, open(model, path, journal));
        model.close();
        stopwatch.stop();
        return std::to_string(stopwatch.seconds()) + ' ' +
               std::to_string(stopwatch.processorSeconds());
    }));
    double wall = 0;
    double processor = 0;
    output >> wall >> processor;
    seconds.wall.push_back(wall);
    seconds.processor.push_back(processor);
}

/// Bytes of the journal before `close`, relative to what `close` writes besides the arrays, before
/// compression.
double relativeJournalSize(const AddArrays& add, const std::string& path) {
    Model model;
    add(model, open(model, path, true));
    model.checkpoint();
    const auto journal = static_cast<double>(fs::file_size(path + ".journal"));
    model.close();
    MekReader::Container container(path);
    double light = 0;
    for (const char* stream : {"Mek Tree", "Light Data", "Attributes", "Resources"}) {
        light += static_cast<double>(container.streamLength(stream));
    }
    return journal / light;
}

struct Targets {
    std::string time;
    std::string size;
};

void compare(const std::string& title, const AddArrays& add, const Targets& targets,
             const Options& options, Table& table, Figures& figures) {
    const std::string path = (options.folder / "mekapi2-journal.mek").string();
    Seconds without;
    Seconds with;
    for (int round = 0; round < options.rounds; ++round) {
        std::fprintf(stderr, "journal: %s, round %d\n", title.c_str(), round + 1);
        measure(add, path, false, without);
        measure(add, path, true, with);
    }
    const double wall = median(with.wall) / median(without.wall);
    const double processor = median(with.processor) / median(without.processor);
    const double size = relativeJournalSize(add, path);
    fs::remove(path);
    table.addRow({title, fixed(median(without.wall), 3), fixed(median(with.wall), 3),
                  fixed(wall, 3) + " x", fixed(processor, 3) + " x", fixed(size, 2) + " x"});
    figures.add(title + ", CPU time: with a journal", processor, " x without", targets.time);
    figures.add(title + ", journal", size, " x light data", targets.size);
}

/// Milliseconds of CPU time of each checkpoint, one after each step.
std::vector<double> checkpointTimes(std::size_t values, std::size_t steps, const fs::path& path) {
    std::istringstream output(outputOfCopy([&] {
        Model model;
        const unsigned int part = open(model, path.string(), true);
        model.addArrayProperty(DatasetType::Coordinates, field(nodeCount, 3), part, Step{});
        const Array1d<float> result = column(values);
        std::string all;
        for (std::size_t number = 0; number < steps; ++number) {
            model.addArrayProperty("Temperature", DatasetType::ResultA1, result, part,
                                   stepOf(number));
            Stopwatch stopwatch;
            stopwatch.start();
            model.checkpoint();
            stopwatch.stop();
            all += std::to_string(1e3 * stopwatch.processorSeconds()) + ' ';
        }
        return all;
    }));
    fs::remove(path);
    fs::remove(path.string() + ".journal");
    std::vector<double> times;
    for (double time = 0; output >> time;) {
        times.push_back(time);
    }
    return times;
}

/// Medians of each tenth of the steps.
void addSeries(const std::string& title, std::size_t values, const Options& options, Table& table,
               Figures& figures) {
    constexpr std::size_t steps = 1000;
    constexpr std::size_t parts = 10;
    std::fprintf(stderr, "journal: checkpoints, %s\n", title.c_str());
    const auto times =
        checkpointTimes(values, steps, options.folder / "mekapi2-journal-checkpoints.mek");
    std::vector<std::string> cells = {title};
    std::vector<double> medians;
    for (auto part = times.begin(); part != times.end(); part += steps / parts) {
        medians.push_back(median(std::vector<double>(part, part + steps / parts)));
        cells.push_back(fixed(medians.back(), 3));
    }
    table.addRow(cells);
    figures.add("checkpoint after each of 1,000 steps, " + title + ": the last hundred",
                medians.back() / medians.front(), " x the first hundred", "about 1");
}

/// Leaves a file and its journal, as a process that is killed after a checkpoint.
void leaveUnfinished(const fs::path& path) {
    outputOfCopy([&] {
        auto* const model = new Model; // never destroyed
        addBulk(*model, open(*model, path.string(), true));
        model->checkpoint();
        return std::string();
    });
}

double secondsOf(const std::function<void()>& action) {
    Stopwatch stopwatch;
    stopwatch.start();
    action();
    stopwatch.stop();
    return stopwatch.seconds();
}

/// Compares a recovery with a copy of the file. Both read from memory: the file was just written.
void addRecovery(const Options& options, Table& table, Figures& figures) {
    const fs::path path = options.folder / "mekapi2-journal-unfinished.mek";
    const fs::path target = options.folder / "mekapi2-journal-copy.mek";
    leaveUnfinished(path);
    std::vector<double> copy;
    std::vector<double> recovery;
    for (int round = 0; round < options.rounds; ++round) {
        std::fprintf(stderr, "journal: recovery, round %d\n", round + 1);
        fs::remove(target);
        copy.push_back(secondsOf([&] { outputOf({"/bin/cp", path.string(), target.string()}); }));
        fs::remove(target);
        recovery.push_back(secondsOf(
            [&] { outputOfCopy([&] { return recover(path.string(), target.string()).reason; }); }));
    }
    const double size = static_cast<double>(fs::file_size(path)) / 1e6;
    fs::remove(target);
    fs::remove(path);
    fs::remove(path.string() + ".journal");
    table.addRow({fixed(size, 0), fixed(median(copy), 3), fixed(median(recovery), 3)});
    figures.add("recovery, time", median(recovery) / median(copy), " x cp", "at most 2");
}

void measureAll(const Options& options) {
    Figures figures;
    Table cost("A write cycle with a journal (median of " + std::to_string(options.rounds) + ")",
               {"workload", "s without", "s with", "time", "CPU time", "journal / light data"});
    compare("150 MB in arrays of 200,000 nodes", addBulk, {"at most 1.02", "at most 1.5"}, options,
            cost, figures);
    compare("100,000 arrays of 10 values", addSmall, {"at most 1.25", "at most 1.5"}, options, cost,
            figures);
    cost.print();
    Table checkpoints("CPU milliseconds of a checkpoint after each step, by number of the step",
                      {"values per step", "1-100", "-200", "-300", "-400", "-500", "-600", "-700",
                       "-800", "-900", "-1000"});
    addSeries("200,000 values", nodeCount, options, checkpoints, figures);
    addSeries("1,000 values", 1000, options, checkpoints, figures);
    checkpoints.print();
    Table recovery("A recovery and a copy of the same file",
                   {"file, MB", "cp, seconds", "recovery, seconds"});
    addRecovery(options, recovery, figures);
    recovery.print();
    figures.appendTo(options.figures);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    return runProgram(argc, argv, options, {}, [&] { measureAll(options); });
}
