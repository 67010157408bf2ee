#include "resultattributes.hpp"

#include "frd/number.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>

namespace Frd {

namespace {

using Tyr::Mek2::Attributes;
using Tyr::Mek2::Step;

/// Names for the value of a step, by type of analysis.
struct Analysis {
    const char* name;
    const char* valueName; ///< key of the attribute
    const char* symbol;    ///< in the step's name
};

constexpr std::array<Analysis, 5> analyses{{{"Static", "Time", "t"},
                                            {"Time step", "Time", "t"},
                                            {"Frequency", "Frequency", "f"},
                                            {"Load step", "Value", "value"},
                                            {"Buckling", "BucklingFactor", "factor"}}};

Analysis analysisOf(const ResultHeader& header, const SurveyedResult& survey) {
    if (header.analysisType < 0 ||
        header.analysisType >= static_cast<std::int64_t>(analyses.size())) {
        return {"Other", "Value", "value"};
    }
    // the solver marks steady state dynamics as time steps, although the value is a frequency
    if (header.analysisType == TimeStep && survey.isStepComplex) {
        return {"Steady state", "Frequency", "f"};
    }
    return analyses[static_cast<std::size_t>(header.analysisType)];
}

bool isModal(const ResultHeader& header) {
    return header.analysisType == Frequency || header.analysisText == "MODAL";
}

/// All digits that a value of twelve columns can have, without trailing zeros.
std::string textOf(double value) {
    constexpr int digits = 12;
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::general, digits);
    return std::string(text.data(), end.ptr);
}

enum class ParameterKind { Integer, Real, Text };

struct ParameterRule {
    std::string_view name;
    const char* attribute;
    ParameterKind kind;
};

constexpr std::string_view modeParameter = "MODE";
constexpr std::string_view stepParameter = "STEP";
constexpr std::array<ParameterRule, 6> parameterRules{
    {{modeParameter, "Mode", ParameterKind::Integer},
     {"GM", "GeneralizedMass", ParameterKind::Real},
     {"GK", "GeneralizedStiffness", ParameterKind::Real},
     {"HID", "NodalDiameter", ParameterKind::Integer},
     {"SUBC", "Subcase", ParameterKind::Integer},
     {"AX", "CyclicSymmetryAxis", ParameterKind::Text}}};

/// A value that is not a number of the expected kind is stored as a string.
void setParameter(Attributes& attributes, const ParameterRule& rule, const std::string& value) {
    const auto integer = parseInteger(value);
    const auto real = parseFloat(value);
    if (rule.kind == ParameterKind::Integer && integer) {
        if (*integer != -1) { // the solver writes -1 for "none"
            setWhole(attributes, rule.attribute, *integer);
        }
    } else if (rule.kind == ParameterKind::Real && real) {
        attributes.set(rule.attribute, *real);
    } else {
        attributes.set(rule.attribute, value);
    }
}

/// The value has three numbers: result block, increment, step of the deck.
void setStepParameter(Attributes& attributes, const std::string& value) {
    std::istringstream numbers(value);
    std::int64_t block = 0;
    std::int64_t increment = 0;
    std::int64_t step = 0;
    if (numbers >> block >> increment >> step) {
        setWhole(attributes, "Increment", increment);
        setWhole(attributes, "DeckStep", step);
    } else {
        attributes.set("Parameter STEP", value);
    }
}

void setParameters(Attributes& attributes, const std::vector<NamedValue>& parameters) {
    for (const NamedValue& parameter : parameters) {
        // NOLINTNEXTLINE(readability-qualified-auto): iterators of arrays need not be pointers
        const auto rule = std::find_if(
            parameterRules.begin(), parameterRules.end(),
            [&](const ParameterRule& candidate) { return candidate.name == parameter.name; });
        if (rule != parameterRules.end()) {
            setParameter(attributes, *rule, parameter.value);
        } else if (parameter.name == stepParameter) {
            setStepParameter(attributes, parameter.value);
        } else {
            attributes.set("Parameter " + parameter.name, parameter.value);
        }
    }
}

/// "Step 3", or "Mode 2" in a modal analysis. The solver numbers modes from 1 in each step of the
/// deck.
std::string stepLabel(const ResultHeader& header) {
    if (!isModal(header)) {
        return "Step " + std::to_string(header.number);
    }
    const auto mode =
        std::find_if(header.parameters.begin(), header.parameters.end(),
                     [](const NamedValue& parameter) { return parameter.name == modeParameter; });
    return "Mode " +
           (mode != header.parameters.end() ? mode->value : std::to_string(header.number));
}

/// A block in polar form has amplitudes (MAG1, MAG2, ...) and phases in degrees (PHA1, ...).
const char* polarPartOf(const Component& component) {
    if (component.kind != PolarVectorKind && component.kind != PolarTensorKind) {
        return nullptr;
    }
    return component.name.substr(0, 3) == "PHA" ? "Phase" : "Amplitude";
}

} // namespace

void setWhole(Attributes& attributes, const std::string& key, std::int64_t value) {
    constexpr std::int64_t largestExact = std::int64_t{1} << std::numeric_limits<float>::digits;
    if (value >= 0 && value <= std::numeric_limits<std::uint32_t>::max()) {
        attributes.set(key, static_cast<unsigned int>(value));
    } else if (value >= -largestExact && value <= largestExact) {
        attributes.set(key, static_cast<float>(value));
    } else {
        attributes.set(key, std::to_string(value));
    }
}

Step stepOf(const ResultHeader& header, const SurveyedResult& survey) {
    const Analysis analysis = analysisOf(header, survey);
    Step step;
    step.name = stepLabel(header) + " " + analysis.symbol + "=" + textOf(header.value);
    setWhole(step.attributes, "Number", header.number);
    step.attributes.set(analysis.valueName, static_cast<float>(header.value));
    step.attributes.set("Analysis", analysis.name);
    if (!header.analysisText.empty()) {
        step.attributes.set("AnalysisText", header.analysisText);
    }
    if (!header.text.empty()) {
        step.attributes.set("Text", header.text);
    }
    setParameters(step.attributes, header.parameters);
    return step;
}

Attributes resultAttributesOf(const ResultHeader& header, const SurveyedResult& survey) {
    Attributes attributes;
    if (isModal(header)) {
        attributes.set("Category", "Vibration");
    }
    if (survey.complexPart != ComplexPart::Whole) {
        attributes.set("ComplexPart",
                       survey.complexPart == ComplexPart::Real ? "Real" : "Imaginary");
        attributes.set("ComplexCounterpart", survey.counterpart);
    }
    std::string names;
    for (const Component& component : header.components) {
        names += (names.empty() ? "" : ",") + component.name;
    }
    attributes.set("Components", names);
    return attributes;
}

Attributes componentAttributesOf(const ResultHeader& header, const Component& component,
                                 const SurveyedResult& survey) {
    Attributes attributes = resultAttributesOf(header, survey);
    attributes.set("Components", component.name);
    if (const char* const part = polarPartOf(component)) {
        attributes.set("ComplexPart", part);
    }
    return attributes;
}

} // namespace Frd
