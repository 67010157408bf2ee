/// @file
/// Finds the complex results of a file before its values are read.
///
/// The solver writes a complex result as two blocks, the imaginary one under the name of the real
/// one with an I behind it ("DISP", "DISPI"; of a name of eight characters the last makes room).
/// Between the two there may be any number of others, so that only a look ahead tells whether
/// a block is half of a pair.
#pragma once

#include "frd/linereader.hpp"

#include <string>
#include <vector>

namespace Frd {

enum class Part { Whole, Real, Imaginary };

struct SurveyedResult {
    Part part = Part::Whole;
    std::string counterpart{};  ///< name of the other part, if there is one
    bool isStepComplex = false; ///< some result of the same step is complex
};

/// One entry for each result block of the file, as far as it goes; faults are not looked for.
std::vector<SurveyedResult> surveyResults(LineReader& lines);

} // namespace Frd
