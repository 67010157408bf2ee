/// @file
/// The conversion from a result file to a model file.
#pragma once

#include "modelwriter.hpp"

#include <filesystem>

namespace Frd {

/// Converts a result file to a model file. Memory is bounded by the mesh, the values of one result
/// block and the memory of the library, whatever the number of results.
///
/// @throws FormatError the input is invalid
/// @throws std::exception an error of the system or the library
/// After an error there is no new output file, and an existing one is unchanged.
Summary convert(const std::filesystem::path& input, const std::filesystem::path& output,
                bool overwrite);

} // namespace Frd
