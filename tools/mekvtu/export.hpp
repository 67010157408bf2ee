/// @file
/// Exports a model for VTK and ParaView.
#pragma once

#include "mekreader/model.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
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

struct ExportOptions {
    /// Appends the arrays raw instead of in base64: a quarter smaller, but the file is no valid
    /// XML, and some programs cannot open it.
    bool raw = false;

    /// Called before each file and at the end with the share of the work that is done. An exception
    /// that it throws ends the export, as an error does.
    std::function<void(std::size_t done, std::size_t all)> progress{};
};

/// Writes one `.vtu` file for each mesh part and step, then the collection `STEM.pvd`, which lists
/// them. Creates folders as needed. All files have temporary names until the last is complete; then
/// they replace files of the same names, so an error leaves an earlier export as it was, unless
/// renaming fails. A variable whose links form a circle is left out, with a note.
///
/// Memory is used for the meshes, the arrays without a step, and one mesh part at one step.
/// @throws MekReader::Error the file violates the format, or contains no mesh
/// @throws Console::FileError an output cannot be written
ExportSummary exportVtu(MekReader::File& file, const std::filesystem::path& directory,
                        const std::string& stem, const ExportOptions& options = {});

} // namespace MekVtu
