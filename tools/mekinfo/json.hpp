/// @file
/// The content of a file as JSON. docs/mekinfo.md describes the members.
#pragma once

#include "mekreader/model.hpp"

#include <ostream>
#include <string>

namespace MekInfo {

/// Prints everything but the arrays as one line.
/// @param name of the file, for the member "file"
/// @param withStatistics whether each variable has the member "statistics"; reads all arrays
/// @throws MekReader::Error the file is damaged
void printJson(std::ostream& out, MekReader::File& file, const std::string& name,
               bool withStatistics);

} // namespace MekInfo
