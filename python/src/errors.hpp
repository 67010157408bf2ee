/// @file
/// Translates the exceptions of the library to those of the Python module.
#pragma once

namespace MekPython {

/// Registers the translator: a library exception is raised as its class in `mekapi2.errors`.
/// Call once, while the module is initialised. Holds the GIL.
void registerErrors();

} // namespace MekPython
