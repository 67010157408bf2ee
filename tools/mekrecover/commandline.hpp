/// @file
/// The command line of mekrecover.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>

namespace MekRecover {

/// The values of options and operands, in UTF-8.
struct CommandLine {
    std::string unfinishedName{};
    std::string outputName{};
    std::string extractFolder{}; ///< empty: blocks are listed only
    bool overwrite = false;
    bool blocks = false;

    std::filesystem::path unfinished() const { return std::filesystem::u8path(unfinishedName); }

    /// Without an output path, that of the input with the suffix ".recovered.mek".
    std::filesystem::path output() const;
};

extern const char* const purpose;
extern const char* const notes; ///< exit codes and examples

/// @param values must outlive `app`
void declareOptions(CLI::App& app, CommandLine& values);

} // namespace MekRecover
