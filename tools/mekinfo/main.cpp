/// @file
/// mekinfo: shows the content of a model file, checks it, or exports it for VTK.
#include "console/arguments.hpp"
#include "mekinfo/print.hpp"
#include "meklint/lint.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "mekvtu/export.hpp"

#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int exitError = 1;
constexpr int exitUsage = 2;

constexpr const char* usage =
    "usage: mekinfo FILE             show header, blocks, tree and variables\n"
    "       mekinfo --check FILE     verify every rule of the format\n"
    "       mekinfo --lint FILE      find what the format allows and no viewer can show\n"
    "       mekinfo --vtu DIR FILE   export shapes and results to DIR as .vtu files and one .pvd\n"
    "       mekinfo --raw --vtu DIR FILE   the same, with arrays as raw appended data\n";

std::uint64_t countVariables(const MekReader::File& file) {
    std::uint64_t count = 0;
    for (const MekReader::Node& node : file.nodes()) {
        count += node.variables.size();
    }
    return count;
}

void check(const std::string& name) {
    const auto path = std::filesystem::u8path(name);
    MekReader::check(path);
    const MekReader::File file(path);
    std::cout << name << ": valid, " << file.container().fileSize() << " bytes, "
              << file.nodes().size() << " nodes, " << countVariables(file) << " variables\n";
}

void show(const std::string& name) {
    MekReader::File file(std::filesystem::u8path(name));
    MekInfo::print(std::cout, file);
}

/// @throws std::runtime_error there are findings
void lint(const std::string& name) {
    MekReader::File file(std::filesystem::u8path(name));
    std::size_t findings = 0;
    MekLint::lint(file, [&](const MekLint::Finding& finding) {
        ++findings;
        std::cout << name << ": " << MekLint::toLine(finding) << '\n';
    });
    if (findings > 0) {
        throw std::runtime_error(std::to_string(findings) + " findings");
    }
}

void exportTo(const std::string& directory, const std::string& name, bool raw) {
    const auto path = std::filesystem::u8path(name);
    MekReader::File file(path);
    MekVtu::ExportOptions options;
    options.raw = raw;
    const MekVtu::ExportSummary summary = MekVtu::exportVtu(
        file, std::filesystem::u8path(directory), path.stem().u8string(), options);
    for (const std::string& note : summary.notes) {
        std::cerr << "mekinfo: " << note << '\n';
    }
    std::cout << summary.collection.u8string() << ": " << summary.meshParts << " mesh parts, "
              << summary.steps << " steps, " << summary.files << " files\n";
}

bool isFile(const std::string& argument) { return argument.substr(0, 1) != "-"; }

/// The action that the arguments select; empty if they are invalid.
std::function<void()> actionOf(const std::vector<std::string>& arguments) {
    if (arguments.size() == 1 && isFile(arguments[0])) {
        return [&] { show(arguments[0]); };
    }
    if (arguments.size() == 2 && arguments[0] == "--check") {
        return [&] { check(arguments[1]); };
    }
    if (arguments.size() == 2 && arguments[0] == "--lint") {
        return [&] { lint(arguments[1]); };
    }
    if (arguments.size() == 3 && arguments[0] == "--vtu") {
        return [&] { exportTo(arguments[1], arguments[2], false); };
    }
    if (arguments.size() == 4 && arguments[0] == "--raw" && arguments[1] == "--vtu") {
        return [&] { exportTo(arguments[2], arguments[3], true); };
    }
    return nullptr;
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        std::cout << usage;
        return 0;
    }
    const std::function<void()> action = actionOf(arguments);
    if (!action) {
        std::cerr << usage;
        return exitUsage;
    }
    try {
        action();
    } catch (const MekVtu::OutputError& error) {
        std::cerr << "mekinfo: " << error.what() << '\n';
        return exitError;
    } catch (const std::exception& error) {
        std::cerr << "mekinfo: " << arguments.back() << ": " << error.what() << '\n';
        return exitError;
    }
    std::cout.flush();
    return std::cout ? 0 : exitError;
}

} // namespace

int main(int argc, char** argv) { return run(Console::arguments(argc, argv)); }
