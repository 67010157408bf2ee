/// @file
/// Exports a model for VTK and ParaView.
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace MekVtu {

struct ExportSummary {
    std::filesystem::path collection{}; ///< path of the .pvd file
    std::uint64_t meshParts = 0;
    std::uint64_t steps = 0;
    std::uint64_t files = 0;          ///< number of .vtu files
    std::vector<std::string> notes{}; ///< warnings for the user, one line each
};

/// Writes one `.vtu` file for each mesh part and step, then the collection `STEM.pvd`, which lists
/// them. Creates folders as needed and replaces files of the same names. A variable whose links
/// form a circle is left out, with a note.
///
/// Memory is used for the meshes, the arrays without a step, and one mesh part at one step.
/// @throws MekReader::Error the file violates the format, contains no mesh, or a file cannot be
///     written
ExportSummary exportVtu(MekReader::File& file, const std::filesystem::path& directory,
                        const std::string& stem);

} // namespace MekVtu
