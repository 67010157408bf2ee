/// @file
/// Prints what a container holds, for people to read.
#pragma once

#include "mekreader/model.hpp"

#include <ostream>

namespace MekInfo {

/// Head, table of blocks, tree with placements, looks and attributes, and every variable with its
/// shape and either its range or what it links to.
void print(std::ostream& out, MekReader::File& file);

} // namespace MekInfo
