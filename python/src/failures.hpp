/// @file
/// From the library's failures to the exceptions of the Python module.
#pragma once

namespace MekPython {

/// Lets the library's failures arrive as the classes of `mekapi2.errors`.
void registerFailures();

} // namespace MekPython
