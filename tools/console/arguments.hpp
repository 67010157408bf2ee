/// @file
/// The arguments of a program, so that every file can be named on every system.
#pragma once

#include <string>
#include <vector>

namespace Console {

/// The arguments behind the name of the program, for `std::filesystem::u8path`. Windows hands them
/// to `main` in its code page, which most names do not fit into; here they are UTF-8. POSIX has
/// bytes, which are left as they are.
std::vector<std::string> arguments(int argc, char** argv);

} // namespace Console
