/// @file
/// A program of the command line: its options, messages and exit codes.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace Console {

/// Exit codes of all programs.
/// @{
constexpr int exitDone = 0;
constexpr int exitError = 1; ///< the input or the output is at fault
constexpr int exitUsage = 2; ///< the arguments are invalid
/// @}

/// The arguments are invalid. The message gives the reason.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Adds `-h`, `--help`, `-V` and `--version` to the options of a program, and runs it.
///
/// An error is one line on standard error: program, path, reason. If the reader of standard output
/// has closed its end, the program ends without a message.
class Program {
public:
    /// @param name of the program
    /// @param purpose one sentence, which `--help` shows first
    /// @param notes what `--help` shows last: exit codes and an example
    /// @param errorCode the exit code of errors
    Program(const std::string& name, const std::string& purpose, const std::string& notes,
            int errorCode = exitError);

    /// For the options and operands of the program. Their values are UTF-8.
    CLI::App& commandLine() { return app_; }

    /// Parses the arguments of `main`, runs `action`, and flushes standard output. Exceptions of
    /// `action` become messages; its `std::ios_base::failure` is one of standard output.
    /// @param action returns the exit code
    /// @return the exit code for `main`
    int run(int count, char** arguments, const std::function<int()>& action);

    /// Flushes standard output, then writes "program: message" to standard error as one line.
    void report(const std::string& message) const;

private:
    int parseAndAct(int count, char** arguments, const std::function<int()>& action);
    int reportUsage(const std::string& message) const;
    std::string messageOf(const CLI::ParseError& error) const;
    std::string messageOf(const CLI::ArgumentMismatch& error) const;
    std::string unexpectedArgument() const;

    CLI::App app_;
    int errorCode_;
};

} // namespace Console
