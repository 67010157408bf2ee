/// @file
/// Shows the progress of long work on a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace Console {

/// Redraws one line on standard error and erases it at the end. Shows nothing during the first
/// second, or if standard error is not a terminal.
class Progress {
public:
    /// @param program the name that begins the line
    /// @param total size of one phase, in any unit
    Progress(std::string program, std::uint64_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// @param phase such as "converting"
    /// @param done size of the phase so far
    void show(const char* phase, std::uint64_t done);

private:
    std::string program_;
    std::uint64_t total_;
    bool isTerminal_;
    bool isShown_ = false;
    std::uint64_t percent_ = 0;
    std::chrono::steady_clock::time_point start_;
};

} // namespace Console
