/// @file
/// Prints the content of a model file.
#pragma once

#include "mekreader/model.hpp"

#include <ostream>

namespace MekInfo {

/// Prints the header, the table of blocks, the tree with placements, materials and attributes, and
/// every variable with its size and range, or with the target of its link.
/// @throws MekReader::Error a dataset is damaged
void print(std::ostream& out, MekReader::File& file);

} // namespace MekInfo
