/// @file
/// The command line of mekinfo.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace MekInfo {

/// The values of options and operands, in UTF-8.
struct CommandLine {
    std::vector<std::string> files{};
    bool check = false;
    bool lint = false;
    bool quiet = false;
    std::string vtuFolder{}; ///< empty without an export
    bool raw = false;        ///< of the export
};

extern const char* const purpose;
extern const char* const notes; ///< exit codes and examples

/// @param values must outlive `app`
void declareOptions(CLI::App& app, CommandLine& values);

} // namespace MekInfo
