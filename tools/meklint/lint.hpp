/// @file
/// Looks at what the format allows and no viewer can show.
#pragma once

#include "meklint/finding.hpp"
#include "mekreader/model.hpp"

namespace MekLint {

/// Calls `report` for each finding, check by check. A file without findings follows the convention
/// for meshes and results of `docs/file-format.md`.
///
/// | Check | Finds |
/// |---|---|
/// | links | variables without an array, links of another type than their owner |
/// | meshes | arrays that do not form a mesh: element types, rows out of range, lengths |
/// | results | numbers of rows that differ from the nodes or elements of the mesh |
/// | steps | names with two steps, and two variables of one name |
/// | strings | attributes that reach the limit of 256 bytes, where longer ones are truncated |
/// | datasets | bytes of "Heavy Data" that no variable refers to |
///
/// Memory is used for one array at a time, and some bytes for each variable.
/// @throws MekReader::Error an array cannot be read; `MekReader::check` finds such damage
void lint(MekReader::File& file, const Report& report);

} // namespace MekLint
