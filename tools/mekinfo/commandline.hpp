/// @file
/// The command line of mekinfo.
#pragma once

#include "mekinfo/arrayformat.hpp"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace MekInfo {

/// The array that `--array` selects, and where it is written.
struct ArrayOptions {
    std::pair<std::string, std::string> pathAndVariable{};
    std::string step{}; ///< empty for the array that belongs to no step
    ArrayFormat format = ArrayFormat::Csv;
    std::string outputName{}; ///< empty for standard output
    bool overwrite = false;

    bool isSelected() const { return !pathAndVariable.first.empty(); }
};

/// The values of options and operands, in UTF-8.
struct CommandLine {
    std::vector<std::string> files{};
    bool all = false;
    bool check = false;
    bool json = false;
    bool lint = false;
    bool quiet = false;
    bool stats = false;
    std::string vtuFolder{}; ///< empty without an export
    bool raw = false;        ///< of the export
    ArrayOptions array{};
};

extern const char* const purpose;
extern const char* const notes; ///< exit codes and examples

/// @param values must outlive `app`
void declareOptions(CLI::App& app, CommandLine& values);

} // namespace MekInfo
