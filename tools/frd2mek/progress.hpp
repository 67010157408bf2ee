/// @file
/// Tells on a terminal how far long work has come.
#pragma once

#include <chrono>
#include <cstdint>

namespace Frd {

/// One line on standard error, drawn over and over and wiped out at the end. Nothing is shown
/// where standard error is no terminal, nor during the first second.
class Progress {
public:
    /// @param total amount of work of one phase
    explicit Progress(std::uint64_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// @param phase what is done, such as "converting"
    void show(const char* phase, std::uint64_t done);

private:
    std::uint64_t total_;
    bool isTerminal_;
    bool isShown_ = false;
    std::uint64_t percent_ = 0;
    std::chrono::steady_clock::time_point start_;
};

} // namespace Frd
