/// @file
/// The whole conversion.
#pragma once

#include "modelwriter.hpp"

#include <filesystem>

namespace Frd {

/// Converts a result file into a model file. Memory is bounded by the mesh, the values of one
/// result block and what the library holds back, however many results there are.
///
/// @throws FormatError the input is not what it should be
/// @throws std::exception the system or the library refuses something
/// After a failure there is no new output file, and an old one is as it was.
Summary convert(const std::filesystem::path& input, const std::filesystem::path& output,
                bool overwrite);

} // namespace Frd
