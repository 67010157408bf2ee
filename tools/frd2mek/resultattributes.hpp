/// @file
/// Names and attributes of steps and results.
#pragma once

#include "frd/resultfile.hpp"
#include "frd/survey.hpp"

#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/step.hpp>

namespace Frd {

/// The step of a result: "Step 3 t=0.25", "Mode 2 f=13.2", with number, value and analysis type as
/// attributes, and what the file tells in parameters.
Tyr::Mek2::Step stepOf(const ResultHead& head, const SurveyedResult& survey);

/// What the values are: their components, whether they vibrate, which part of a complex result.
Tyr::Mek2::Attributes resultAttributesOf(const ResultHead& head, const SurveyedResult& survey);

/// The same for one component that becomes a result of its own.
Tyr::Mek2::Attributes componentAttributesOf(const ResultHead& head, const Component& component,
                                            const SurveyedResult& survey);

} // namespace Frd
