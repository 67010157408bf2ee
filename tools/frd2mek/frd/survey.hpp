/// @file
/// Finds the complex results of a file before their values are read.
///
/// The solver writes a complex result as two blocks. The name of the imaginary one is that of the
/// real one with an appended I ("DISP", "DISPI"), which replaces the last of eight characters.
/// Other blocks can come between the two, so a separate pass over the file has to find the pairs.
#pragma once

#include "frd/resultfile.hpp"

#include <string>
#include <vector>

namespace Frd {

enum class ComplexPart { Whole, Real, Imaginary };

struct SurveyedResult {
    ComplexPart complexPart = ComplexPart::Whole;
    std::string counterpart{};  ///< name of the other part, if there is one
    bool isStepComplex = false; ///< some result of the same step is complex
};

/// One element for each complete result block of the file. Reads all headers and skips the values;
/// the file is at its end afterwards.
std::vector<SurveyedResult> surveyResults(ResultFile& file);

} // namespace Frd
