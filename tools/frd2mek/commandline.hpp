/// @file
/// The command line of the converter.
#pragma once

#include "converter.hpp"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>

namespace Frd {

/// The values of options and operands, in UTF-8.
struct CommandLine {
    std::string inputName{};
    std::string outputName{};
    ConversionOptions options{};

    std::filesystem::path input() const { return std::filesystem::u8path(inputName); }

    /// Without an output path, the input path with the suffix ".mek".
    std::filesystem::path output() const;
};

extern const char* const purpose;
extern const char* const notes; ///< exit codes and examples

/// @param values must outlive `app`
void declareOptions(CLI::App& app, CommandLine& values);

} // namespace Frd
