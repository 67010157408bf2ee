/// @file
/// Runs each measurement in a new process, so that none inherits the heap of another.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Bench {

/// Runs a program and returns its standard output.
/// @param command the program and its arguments
/// @throws std::runtime_error it could not be started or did not exit with 0
std::string outputOf(const std::vector<std::string>& command);

/// Runs `action` in a fork of this process and returns its result.
/// @throws std::runtime_error `action` threw, or the process failed
std::string outputOfCopy(const std::function<std::string()>& action);

} // namespace Bench
