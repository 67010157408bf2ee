/// @file
/// Compares the interfaces for C and Fortran with that for C++: the time of many small arrays, of
/// which the interface itself takes the largest part. The languages take turns, and the fastest
/// round of each counts: the difference is smaller than the noise of a machine. Prints a table.

#include <tyr/mek2/model.hpp>

#include "bindings/workload.h"
#include "support/childprocess.hpp"
#include "support/measure.hpp"
#include "support/program.hpp"
#include "support/report.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Bench;
namespace fs = std::filesystem;

int writeWithCpp(const Workload* workload) {
    using namespace Tyr::Mek2;
    SaverOptions options;
    options.overwrite = true;
    Model model;
    model.saveTo(workload->path, options);
    model.addNode(NodeType::RootGroup, "model");
    const unsigned int part = model.addNode(NodeType::Shape, "part");
    for (unsigned int number = 0; number < stepCount; ++number) {
        Step step{workload->names[number]};
        step.attributes.set("Step", number);
        step.attributes.set("Time", 0.01F * static_cast<float>(number));
        const Array1d<float> values(workload->values, valueCount);
        model.addArrayProperty("Temperature", DatasetType::ResultA1, values, part, step);
    }
    model.close();
    return 0;
}

struct Language {
    const char* name;
    int (*write)(const Workload*);
    const char* target; ///< of its ratio
    std::vector<double> seconds{};
};

double measure(const Language& language, const Workload& workload) {
    return std::stod(outputOfCopy([&] {
        return std::to_string(processorSecondsOf([&] {
            if (language.write(&workload) != 0) {
                throw std::runtime_error(std::string(language.name) + ": a call failed");
            }
        }));
    }));
}

/// The fastest round: other processes of the machine can only add time.
double fastest(const Language& language) {
    return *std::min_element(language.seconds.begin(), language.seconds.end());
}

using Names = std::vector<std::array<char, nameLength>>;

Names stepNames(char padding) {
    Names names(stepCount);
    for (std::size_t number = 0; number < names.size(); ++number) {
        names[number].fill(padding);
        const std::string name = "step " + std::to_string(number);
        std::memcpy(names[number].data(), name.data(), name.size());
    }
    return names;
}

void run(const Options& options) {
    Names names = stepNames('\0');
    Names fortranNames = stepNames(' ');
    const std::string path = (options.folder / "mekapi2-bindings").string();
    const Workload workload = {path.c_str(),
                               {1, 2, 3, 4, 5, 6, 7, 8, 9, 10},
                               reinterpret_cast<char(*)[nameLength]>(names.data()),
                               reinterpret_cast<char(*)[nameLength]>(fortranNames.data())};
    std::vector<Language> languages = {{"C++", writeWithCpp, ""},
                                       {"C", writeWithC, "at most 1.03"}};
#if defined(BENCH_FORTRAN)
    languages.push_back({"Fortran", writeWithFortran, "at most 1.05"});
#endif
    for (int round = 0; round < options.rounds; ++round) {
        for (Language& language : languages) {
            language.seconds.push_back(measure(language, workload));
        }
    }
    fs::remove(path);
    Table table("100,000 arrays of 10 values", {"Language", "CPU seconds", "relative to C++"});
    Figures figures;
    const double base = fastest(languages[0]);
    for (const Language& language : languages) {
        const double seconds = fastest(language);
        table.addRow({language.name, fixed(seconds, 3), fixed(seconds / base, 3)});
        if (language.write != writeWithCpp) {
            figures.add(
                "100,000 small arrays through " + std::string(language.name) + ", relative to C++",
                seconds / base, " x", language.target);
        }
    }
    table.print();
    figures.appendTo(options.figures);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    options.rounds = 31;
    return runProgram(argc, argv, options, {}, [&] { run(options); });
}
