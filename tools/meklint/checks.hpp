/// @file
/// The checks. Each one looks at the whole file.
#pragma once

#include "meklint/reporter.hpp"
#include "mekreader/model.hpp"

namespace MekLint {

/// Finds variables whose links lead to no array, and links of another type than their owner.
void checkLinks(const MekReader::File& file, const Reporter& reporter);

/// Finds arrays that do not form a mesh.
/// @throws MekReader::Error an array cannot be read
void checkMeshes(MekReader::File& file, const Reporter& reporter);

/// Finds results with another number of rows than their mesh has nodes or elements.
void checkResults(const MekReader::File& file, const Reporter& reporter);

/// Finds variable names with two steps, two variables of one name, and steps of one name that have
/// different values.
void checkSteps(const MekReader::File& file, const Reporter& reporter);

/// Finds attributes with as many bytes as the format stores of a string.
void checkStrings(const MekReader::File& file, const Reporter& reporter);

/// Finds datasets that no variable refers to.
void checkDatasets(const MekReader::File& file, const Reporter& reporter);

} // namespace MekLint
