/// @file
/// mekdiff: compares two models.
#include "console/count.hpp"
#include "console/error.hpp"
#include "console/inputfile.hpp"
#include "console/program.hpp"
#include "mekdiff/commandline.hpp"
#include "mekreader/error.hpp"

#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int exitDifferent = 1;
constexpr int exitTrouble = 2;

/// Runs `action`, whose errors get the path of the file.
template <class Action>
auto inFile(const std::string& name, const Action& action) {
    try {
        return action();
    } catch (const MekReader::Error& error) {
        throw std::runtime_error(name + ": " + error.what());
    }
}

MekReader::File open(const std::string& name) {
    const auto path = std::filesystem::u8path(name);
    Console::checkInputFile(path, Console::FileFormat::Model);
    return inFile(name, [&] { return MekReader::File(path); });
}

int compare(const MekDiff::CommandLine& commandLine) {
    MekReader::File first = open(commandLine.first);
    MekReader::File second = open(commandLine.second);
    const MekDiff::Sides sides{{first, commandLine.first}, {second, commandLine.second}};
    const MekDiff::Result result =
        MekDiff::compare(sides, commandLine.options, [&](const std::string& line) {
            if (!commandLine.quiet) {
                std::cout << Console::printable(line) << '\n';
            }
        });
    if (!commandLine.quiet && result.differences != 0) {
        std::cout << Console::counted(result.differences, "difference")
                  << (result.largest.empty() ? "" : "; the largest in " + result.largest) << '\n';
    }
    return result.differences == 0 ? Console::exitDone : exitDifferent;
}

} // namespace

int main(int count, char** arguments) {
    Console::Program program("mekdiff", MekDiff::purpose, MekDiff::notes, exitTrouble);
    MekDiff::CommandLine commandLine;
    MekDiff::declareOptions(program.commandLine(), commandLine);
    return program.run(count, arguments, [&] { return compare(commandLine); });
}
