/// @file
/// The version of the library. The build system and the packages read it from this file.
///
/// @code
/// #include <tyr/version.hpp>
///
/// static_assert(MEKAPI2_VERSION_MAJOR >= 2, "this program needs a newer library");
///
/// int main() {}
/// @endcode
#pragma once

/// Increases with incompatible changes of the interface. Part of the name of the shared library.
#define MEKAPI2_VERSION_MAJOR 2
/// Increases with additions.
#define MEKAPI2_VERSION_MINOR 0
/// Increases with corrections.
#define MEKAPI2_VERSION_PATCH 0
/// The version as "MAJOR.MINOR.PATCH".
#define MEKAPI2_VERSION_STRING "2.0.0"
