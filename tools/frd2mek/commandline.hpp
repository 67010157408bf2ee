/// @file
/// The command line of the converter.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace Frd {

enum class Task { Convert, ShowHelp, ShowVersion };

struct CommandLine {
    Task task = Task::Convert;
    std::filesystem::path input{};
    std::filesystem::path output{};
    bool overwrite = false;
};

/// The arguments are invalid; the message gives the reason.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

extern const char* const usage;

/// Without an output path, the output is the input path with the suffix ".mek".
/// @param arguments UTF-8, without the name of the program
/// @throws UsageError
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

} // namespace Frd
