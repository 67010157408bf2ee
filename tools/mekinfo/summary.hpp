/// @file
/// A summary of a file on one screen.
#pragma once

#include "mekreader/model.hpp"

#include <ostream>
#include <string>

namespace MekInfo {

/// Prints program and date, sizes, and the numbers of shapes, nodes, elements, steps and results,
/// then the first shapes and results: at most 22 lines. Reads no array.
/// @param name of the file
/// @throws MekReader::Error the file is damaged
void printSummary(std::ostream& out, const MekReader::File& file, const std::string& name);

} // namespace MekInfo
