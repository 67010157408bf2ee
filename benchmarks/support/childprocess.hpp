/// @file
/// Measurements in processes of their own, so that none finds the heap of another.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Bench {

/// Runs a program and gives what it printed.
/// @param command the program and its arguments
/// @throws std::runtime_error it could not be run, or told a failure
std::string outputOf(const std::vector<std::string>& command);

/// Runs `action` in a copy of this process and gives the text that it returned.
/// @throws std::runtime_error it failed
std::string outputOfCopy(const std::function<std::string()>& action);

} // namespace Bench
