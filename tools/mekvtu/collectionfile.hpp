/// @file
/// The .pvd file, which lists the .vtu file of each mesh part and step.
#pragma once

#include "mekvtu/outputfile.hpp"
#include "mekvtu/timeline.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace MekVtu {

struct CollectionEntry {
    double time = 0;
    std::string stepName{};
    std::uint64_t part = 0;
    std::string partName{};
    std::string fileName{}; ///< relative to the collection
};

/// @throws Console::FileError
void writeCollection(OutputFile& file, const std::vector<CollectionEntry>& entries);

} // namespace MekVtu
