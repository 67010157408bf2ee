/// @file
/// Names and attributes of steps and results.
#pragma once

#include "frd/resultfile.hpp"
#include "frd/survey.hpp"

#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/step.hpp>

#include <cstdint>
#include <string>

namespace Frd {

/// Sets an attribute to a whole number. The file stores unsigned ones of 32 bits; any other is
/// stored as a floating-point number if that is exact, and otherwise as a string.
void setWhole(Tyr::Mek2::Attributes& attributes, const std::string& key, std::int64_t value);

/// The step of a result, such as "Step 3 t=0.25" or "Mode 2 f=13.2". Attributes are its number,
/// value and analysis type, and the parameters of the result block.
Tyr::Mek2::Step stepOf(const ResultHeader& header, const SurveyedResult& survey);

/// Attributes of a result: its components, whether it is a vibration, and its complex part.
Tyr::Mek2::Attributes resultAttributesOf(const ResultHeader& header, const SurveyedResult& survey);

/// Attributes of a single component that is written as a separate result.
Tyr::Mek2::Attributes componentAttributesOf(const ResultHeader& header, const Component& component,
                                            const SurveyedResult& survey);

} // namespace Frd
