/// @file
/// The main function of the programs that measure.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Bench {

/// What all programs can be asked for.
struct Options {
    int rounds = 5;
    std::filesystem::path folder{}; ///< for the files; `runProgram` sets the temporary folder
    std::string figures{};          ///< the file of `Figures::appendTo`
};

/// An option that only one program has.
struct SpecialOption {
    std::string name;
    std::string& value;
    std::string description;
};

/// Parses the command line, which may change `options`, and calls `measure`. Prints errors.
/// @return the exit status of the program
int runProgram(int argc, char** argv, Options& options, const std::vector<SpecialOption>& special,
               const std::function<void()>& measure);

} // namespace Bench
