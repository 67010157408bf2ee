/// @file
/// Writes what a container holds for VTK's readers.
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace MekVtu {

struct ExportSummary {
    std::filesystem::path collection{}; ///< the file to open
    std::uint64_t parts = 0;
    std::uint64_t steps = 0;
    std::uint64_t files = 0;          ///< without the collection
    std::vector<std::string> notes{}; ///< what a user should know, one line each
};

/// Writes one `.vtu` file for each part and step, and last the collection `STEM.pvd` that names
/// them all. Folders are made as needed, files of the same names replaced.
///
/// Memory is taken for the meshes, the arrays that belong to no step, and one part at one step.
/// @throws MekReader::Error the file breaks the format, it holds no mesh, or a file can't be
///     written
ExportSummary exportVtu(MekReader::File& file, const std::filesystem::path& directory,
                        const std::string& stem);

} // namespace MekVtu
