/// @file
/// Runs the programs of the build tree.
#pragma once

#include "support/testing.hpp"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

#include <cstdlib>
#include <string>

namespace Testing {

/// Absolute, since `ProgramTest` changes the current folder.
inline const std::filesystem::path programFolder = std::filesystem::absolute(PROGRAMS);
inline const std::filesystem::path seedFolder = std::filesystem::absolute(FRD_SEEDS);

struct Run {
    int exitCode; ///< 128 and the number of the signal that ended the process
    std::string output;
    std::string errors;
};

/// Runs a command of the system's shell, which finds the programs by their names, in the current
/// folder of this process.
inline Run run(const std::string& command) {
    const std::string output = temporaryPath("output").string();
    const std::string errors = temporaryPath("errors").string();
    const std::string programs = std::filesystem::path(programFolder).make_preferred().string();
    const std::string redirection = " > \"" + output + "\" 2> \"" + errors + '"';
#if defined(_WIN32)
    // a single command: not every shell accepts redirections after a group
    const std::string line = "set \"PATH=" + programs + ";%PATH%\" && " + command + redirection;
#else
    const std::string line = "PATH='" + programs + "':$PATH; ( " + command + " )" + redirection;
#endif
    const int status = std::system(line.c_str());
    const auto textOf = [](const std::string& path) {
        std::ifstream stream(path); // as text: Windows ends lines by two characters
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    Run result{status, textOf(output), textOf(errors)};
#if !defined(_WIN32)
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
#endif
    std::filesystem::remove(output);
    std::filesystem::remove(errors);
    return result;
}

/// A test whose current folder is its own, empty at the start.
class ProgramTest : public FolderTest {
protected:
    ProgramTest() { std::filesystem::current_path(folder); }
    ~ProgramTest() override { std::filesystem::current_path(previous_); }

private:
    std::filesystem::path previous_ = std::filesystem::current_path();
};

} // namespace Testing
