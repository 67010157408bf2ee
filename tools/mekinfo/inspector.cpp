#include "mekinfo/inspector.hpp"

#include "console/count.hpp"
#include "console/error.hpp"
#include "console/inputfile.hpp"
#include "console/outputfile.hpp"
#include "console/program.hpp"
#include "console/progress.hpp"
#include "console/standardoutput.hpp"
#include "mekinfo/json.hpp"
#include "mekinfo/print.hpp"
#include "mekinfo/statistics.hpp"
#include "mekinfo/summary.hpp"
#include "meklint/lint.hpp"
#include "meknames/lookup.hpp"
#include "mekreader/error.hpp"
#include "mekvtu/outputfile.hpp"

#include <filesystem>
#include <iostream>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace MekInfo {

namespace {

using Console::counted;

std::uint64_t countVariables(const MekReader::File& file) {
    std::uint64_t count = 0;
    for (const MekReader::Node& node : file.nodes()) {
        count += node.variables.size();
    }
    return count;
}

MekReader::File open(const std::string& name) {
    const auto path = std::filesystem::u8path(name);
    Console::checkInputFile(path, Console::FileFormat::Model);
    return MekReader::File(path);
}

/// Links are followed.
const MekReader::Variable& selectedArray(const MekReader::File& file, const ArrayOptions& array) {
    const auto step =
        array.step.empty() ? std::nullopt : std::optional<std::string_view>(array.step);
    const MekNames::Tree tree(file);
    return file.owner(MekNames::findVariable(tree, array.pathAndVariable.first,
                                             array.pathAndVariable.second, step));
}

/// With the next step, if the writer of the file had a journal.
std::string reasonOf(const MekReader::Error& error, const std::string& name) {
    std::error_code ignored;
    const bool isRecoverable =
        dynamic_cast<const MekReader::Unfinished*>(&error) != nullptr &&
        std::filesystem::exists(std::filesystem::u8path(name + ".journal"), ignored);
    return std::string(error.what()) + (isRecoverable ? "; mekrecover makes a complete file" : "");
}

} // namespace

Inspector::Inspector(const CommandLine& commandLine, std::function<void(const std::string&)> report)
    : commandLine_(commandLine), report_(std::move(report)) {}

bool Inspector::inspectAll() {
    requireDifferentStems();
    requireOneArray();
    bool areAllGood = true;
    for (const std::string& name : commandLine_.files) {
        try {
            areAllGood = inspect(name) && areAllGood;
        } catch (const MekReader::Error& error) {
            report_(name + ": " + reasonOf(error, name));
            areAllGood = false;
        } catch (const MekNames::NotFound& error) {
            report_(name + ": " + error.what());
            areAllGood = false;
        } catch (const Console::FileError& error) {
            report_(error.what());
            areAllGood = false;
        }
    }
    return areAllGood;
}

bool Inspector::inspect(const std::string& name) {
    if (commandLine_.check || commandLine_.lint) {
        return checkAndLint(name);
    }
    if (!commandLine_.vtuFolder.empty()) {
        exportVtu(name);
    } else if (commandLine_.array.isSelected()) {
        writeArray(name);
    } else {
        show(name);
    }
    return true;
}

bool Inspector::checkAndLint(const std::string& name) {
    return (!commandLine_.check || check(name)) && (!commandLine_.lint || lint(name));
}

bool Inspector::check(const std::string& name) {
    const auto printInvalid = [&name](const std::string& reason) {
        std::cout << name << ": INVALID, " << Console::printable(reason) << '\n';
        return false;
    };
    try {
        const MekReader::File file = open(name);
        MekReader::check(std::filesystem::u8path(name));
        if (!commandLine_.quiet) {
            std::cout << name << ": OK, " << counted(file.nodes().size(), "node") << ", "
                      << counted(countVariables(file), "variable") << ", "
                      << counted(file.container().fileSize(), "byte")
                      << (commandLine_.lint ? "" : "; meshes not checked, see --lint") << '\n';
        }
        return true;
    } catch (const MekReader::Error& error) {
        return printInvalid(reasonOf(error, name));
    } catch (const Console::ForeignFile& error) {
        return printInvalid(error.reason());
    }
}

bool Inspector::lint(const std::string& name) {
    MekReader::File file = open(name);
    bool hasFindings = false;
    MekLint::lint(file, [&](const MekLint::Finding& finding) {
        std::cout << name << ": " << MekLint::toLine(finding) << '\n';
        hasFindings = true;
    });
    if (!hasFindings && !commandLine_.quiet) {
        std::cout << name << ": OK, no findings\n";
    }
    return !hasFindings;
}

void Inspector::show(const std::string& name) {
    MekReader::File file = open(name);
    if (commandLine_.quiet) {
        std::ostream nowhere(nullptr);
        show(nowhere, file, name);
        return;
    }
    if (commandLine_.files.size() > 1 && !commandLine_.json) {
        const bool hasName = !commandLine_.all && !commandLine_.stats;
        std::cout << (name == commandLine_.files.front() ? "" : "\n")
                  << (hasName ? "" : name + ":\n");
    }
    show(std::cout, file, name);
}

void Inspector::show(std::ostream& out, MekReader::File& file, const std::string& name) const {
    if (commandLine_.json) {
        printJson(out, file, name, commandLine_.stats);
    } else if (commandLine_.stats) {
        printStatistics(out, file);
    } else if (commandLine_.all) {
        print(out, file);
    } else {
        printSummary(out, file, name);
    }
}

void Inspector::writeArray(const std::string& name) {
    const ArrayOptions& array = commandLine_.array;
    MekReader::File file = open(name);
    if (!array.outputName.empty()) {
        Console::checkOutputPath(std::filesystem::u8path(array.outputName), array.overwrite,
                                 std::filesystem::u8path(name));
        writeArrayFile(file, selectedArray(file, array));
        return;
    }
    const MekReader::Variable& variable = selectedArray(file, array);
    if (array.format != ArrayFormat::Csv) {
        Console::makeStandardOutputBinary();
    }
    formatArray(file, variable, array.format, [](std::string_view bytes) {
        std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    });
}

void Inspector::writeArrayFile(MekReader::File& file, const MekReader::Variable& variable) const {
    const ArrayOptions& array = commandLine_.array;
    MekVtu::OutputFile output(std::filesystem::u8path(array.outputName), array.overwrite);
    formatArray(file, variable, array.format,
                [&output](std::string_view bytes) { output.write(bytes); });
    output.close();
    output.finish();
    if (!commandLine_.quiet) {
        std::cout << array.outputName << ": " << counted(variable.rows(), "row") << " of "
                  << counted(variable.width, "value") << '\n';
    }
}

MekVtu::ExportSummary Inspector::exportedFrom(MekReader::File& file,
                                              const std::string& name) const {
    constexpr std::uint64_t hundredPercent = 100;
    Console::Progress progress("mekinfo", hundredPercent);
    MekVtu::ExportOptions options;
    options.raw = commandLine_.raw;
    if (!commandLine_.quiet) {
        options.progress = [&progress](std::size_t done, std::size_t all) {
            progress.show("exporting", done * hundredPercent / all);
        };
    }
    return MekVtu::exportVtu(file, std::filesystem::u8path(commandLine_.vtuFolder),
                             std::filesystem::u8path(name).stem().u8string(), options);
}

void Inspector::exportVtu(const std::string& name) {
    MekReader::File file = open(name);
    const MekVtu::ExportSummary summary = exportedFrom(file, name);
    if (commandLine_.quiet) {
        return;
    }
    for (const std::string& note : summary.notes) {
        report_(std::string(name).append(": ").append(note));
    }
    std::cout << summary.collection.u8string() << ": " << counted(summary.meshParts, "mesh part")
              << ", " << counted(summary.steps, "step") << ", " << counted(summary.files, "file")
              << '\n';
}

/// The names of the exported files begin with the stem of the file.
void Inspector::requireDifferentStems() const {
    if (commandLine_.vtuFolder.empty()) {
        return;
    }
    std::set<std::filesystem::path> stems;
    for (const std::string& name : commandLine_.files) {
        if (!stems.insert(std::filesystem::u8path(name).stem()).second) {
            throw Console::UsageError("--vtu: another file has the name of " + name);
        }
    }
}

void Inspector::requireOneArray() const {
    const ArrayOptions& array = commandLine_.array;
    if (!array.isSelected()) {
        return;
    }
    if (commandLine_.files.size() > 1) {
        throw Console::UsageError("--array: needs a single FILE");
    }
    if (array.outputName.empty() && array.format != ArrayFormat::Csv &&
        Console::isStandardOutputTerminal()) {
        throw Console::UsageError(
            "standard output is a terminal, and the array would be bytes; use --output or a pipe");
    }
}

} // namespace MekInfo
