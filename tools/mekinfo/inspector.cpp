#include "mekinfo/inspector.hpp"

#include "console/count.hpp"
#include "console/error.hpp"
#include "console/inputfile.hpp"
#include "console/program.hpp"
#include "console/progress.hpp"
#include "mekinfo/print.hpp"
#include "meklint/lint.hpp"
#include "mekreader/error.hpp"

#include <filesystem>
#include <iostream>
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
    bool areAllGood = true;
    for (const std::string& name : commandLine_.files) {
        try {
            areAllGood = inspect(name) && areAllGood;
        } catch (const MekReader::Error& error) {
            report_(name + ": " + reasonOf(error, name));
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
        print(nowhere, file);
        return;
    }
    if (commandLine_.files.size() > 1) {
        std::cout << (name == commandLine_.files.front() ? "" : "\n") << name << ":\n";
    }
    print(std::cout, file);
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

} // namespace MekInfo
