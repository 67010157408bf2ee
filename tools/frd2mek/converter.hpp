/// @file
/// The conversion from a result file to a model file.
#pragma once

#include "modelwriter.hpp"

#include <filesystem>

namespace Frd {

struct ConversionOptions {
    bool overwrite = false;   ///< replace an existing output
    bool salvage = false;     ///< convert the complete blocks of an unfinished file
    unsigned int threads = 0; ///< that compress; 0: one per processor
};

/// Converts a result file to a model file. Memory is bounded by the mesh, the values of one result
/// block and the memory of the library, whatever the number of results.
///
/// @throws FormatError the input is invalid
/// @throws UnfinishedFile the input is not finished, and it has no complete mesh or
///     `options.salvage` is false
/// @throws std::exception an error of the system or the library
/// After an error there is no new output file, and an existing one is unchanged.
Summary convert(const std::filesystem::path& input, const std::filesystem::path& output,
                const ConversionOptions& options);

} // namespace Frd
