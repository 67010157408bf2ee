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
#if defined(_WIN32)
    const std::string path = "set \"PATH=" + programs + ";%PATH%\" && ";
#else
    const std::string path = "PATH='" + programs + "':$PATH; ";
#endif
    const int status = std::system(
        (path + "( " + command + " ) > \"" + output + "\" 2> \"" + errors + "\"").c_str());
    Run result{status, readFile(output), readFile(errors)};
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
