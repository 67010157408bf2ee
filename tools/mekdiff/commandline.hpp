/// @file
/// The command line of mekdiff.
#pragma once

#include "mekdiff/comparison.hpp"

#include <CLI/CLI.hpp>

#include <string>

namespace MekDiff {

/// The values of options and operands, in UTF-8.
struct CommandLine {
    std::string first{};
    std::string second{};
    Options options{};
    bool quiet = false;
};

extern const char* const purpose;
extern const char* const notes; ///< exit codes and examples

/// @param values must outlive `app`
void declareOptions(CLI::App& app, CommandLine& values);

} // namespace MekDiff
