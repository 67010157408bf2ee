/// @file
/// The arguments of a program as UTF-8, so that every path can be given on every system.
#pragma once

#include <string>
#include <vector>

namespace Console {

/// The arguments after the name of the program, for `std::filesystem::u8path`. On Windows they are
/// taken from the wide command line and converted to UTF-8, since the code page that `main` gets
/// cannot hold every path. On POSIX the bytes are not changed.
std::vector<std::string> arguments(int argc, char** argv);

} // namespace Console
