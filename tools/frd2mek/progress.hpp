/// @file
/// Shows the progress of long work on a terminal.
#pragma once

#include <chrono>
#include <cstdint>

namespace Frd {

/// Redraws one line on standard error and erases it at the end. Shows nothing during the first
/// second, or if standard error is not a terminal.
class Progress {
public:
    /// @param total bytes of one phase
    explicit Progress(std::uint64_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// @param phase such as "converting"
    /// @param done bytes of the phase so far
    void show(const char* phase, std::uint64_t done);

private:
    std::uint64_t total_;
    bool isTerminal_;
    bool isShown_ = false;
    std::uint64_t percent_ = 0;
    std::chrono::steady_clock::time_point start_;
};

} // namespace Frd
