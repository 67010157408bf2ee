/// @file
/// Names and attributes of steps and results.
#pragma once

#include "frd/resultfile.hpp"
#include "frd/survey.hpp"

#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/step.hpp>

namespace Frd {

/// The step of a result, such as "Step 3 t=0.25" or "Mode 2 f=13.2". Attributes are its number,
/// value and analysis type, and the parameters of the result block.
Tyr::Mek2::Step stepOf(const ResultHeader& header, const SurveyedResult& survey);

/// Attributes of a result: its components, whether it is a vibration, and its complex part.
Tyr::Mek2::Attributes resultAttributesOf(const ResultHeader& header, const SurveyedResult& survey);

/// Attributes of a single component that is written as a separate result.
Tyr::Mek2::Attributes componentAttributesOf(const ResultHeader& header, const Component& component,
                                            const SurveyedResult& survey);

} // namespace Frd
