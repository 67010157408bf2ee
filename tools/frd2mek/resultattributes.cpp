#include "resultattributes.hpp"

#include "frd/number.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>
#include <string>
#include <string_view>

namespace Frd {

namespace {

using Tyr::Mek2::Attributes;
using Tyr::Mek2::Step;

/// How the value of a step is called, by the analysis that it comes from.
struct Analysis {
    const char* name;
    const char* valueName; ///< as an attribute
    const char* symbol;    ///< in the step's name
};

constexpr std::array<Analysis, 5> analyses{{{"Static", "Time", "t"},
                                            {"Time step", "Time", "t"},
                                            {"Frequency", "Frequency", "f"},
                                            {"Load step", "Value", "value"},
                                            {"Buckling", "BucklingFactor", "factor"}}};

Analysis analysisOf(const ResultHead& head, const SurveyedResult& survey) {
    if (head.analysisType < 0 || head.analysisType >= static_cast<std::int64_t>(analyses.size())) {
        return {"Other", "Value", "value"};
    }
    // The solver marks steady state dynamics as time steps, though their value is a frequency.
    if (head.analysisType == TimeStep && survey.isStepComplex) {
        return {"Steady state", "Frequency", "f"};
    }
    return analyses[static_cast<std::size_t>(head.analysisType)];
}

bool isModal(const ResultHead& head) {
    return head.analysisType == Frequency || head.analysisText == "MODAL";
}

/// All digits that a value of twelve columns can have, without zeros at their end.
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

/// What is not the number that it should be stays a text.
void setParameter(Attributes& attributes, const ParameterRule& rule, const std::string& text) {
    const auto integer = parseInteger(text);
    const auto real = parseFloat(text);
    if (rule.kind == ParameterKind::Integer && integer) {
        if (*integer >= 0) { // the solver writes -1 for "has none"
            attributes.set(rule.attribute, static_cast<unsigned int>(*integer));
        }
    } else if (rule.kind == ParameterKind::Real && real) {
        attributes.set(rule.attribute, *real);
    } else {
        attributes.set(rule.attribute, text);
    }
}

/// Number of the block in the file, of the increment in the deck's step, of that step.
void setStepParameter(Attributes& attributes, const std::string& text) {
    std::istringstream numbers(text);
    unsigned int block = 0;
    unsigned int increment = 0;
    unsigned int step = 0;
    if (numbers >> block >> increment >> step) {
        attributes.set("Increment", increment);
        attributes.set("DeckStep", step);
    } else {
        attributes.set("Parameter STEP", text);
    }
}

void setParameters(Attributes& attributes, const std::vector<NamedText>& parameters) {
    for (const NamedText& parameter : parameters) {
        // NOLINTNEXTLINE(readability-qualified-auto): iterators of arrays need not be pointers
        const auto rule = std::find_if(
            parameterRules.begin(), parameterRules.end(),
            [&](const ParameterRule& candidate) { return candidate.name == parameter.name; });
        if (rule != parameterRules.end()) {
            setParameter(attributes, *rule, parameter.text);
        } else if (parameter.name == stepParameter) {
            setStepParameter(attributes, parameter.text);
        } else {
            attributes.set("Parameter " + parameter.name, parameter.text);
        }
    }
}

/// "Mode 2" of a modal analysis, whose modes the solver counts anew in each step of the deck.
std::string stepLabel(const ResultHead& head) {
    if (!isModal(head)) {
        return "Step " + std::to_string(head.number);
    }
    const auto mode =
        std::find_if(head.parameters.begin(), head.parameters.end(),
                     [](const NamedText& parameter) { return parameter.name == modeParameter; });
    return "Mode " + (mode != head.parameters.end() ? mode->text : std::to_string(head.number));
}

/// The solver writes amplitudes and phases in degrees side by side: MAG1, MAG2, ... PHA1, ...
const char* polarPartOf(const Component& component) {
    if (component.kind != PolarVectorKind && component.kind != PolarTensorKind) {
        return nullptr;
    }
    return component.name.substr(0, 3) == "PHA" ? "Phase" : "Amplitude";
}

} // namespace

Step stepOf(const ResultHead& head, const SurveyedResult& survey) {
    const Analysis analysis = analysisOf(head, survey);
    Step step;
    step.name = stepLabel(head) + " " + analysis.symbol + "=" + textOf(head.value);
    step.attributes.set("Number", static_cast<unsigned int>(head.number));
    step.attributes.set(analysis.valueName, static_cast<float>(head.value));
    step.attributes.set("Analysis", analysis.name);
    if (!head.analysisText.empty()) {
        step.attributes.set("AnalysisText", head.analysisText);
    }
    if (!head.text.empty()) {
        step.attributes.set("Text", head.text);
    }
    setParameters(step.attributes, head.parameters);
    return step;
}

Attributes resultAttributesOf(const ResultHead& head, const SurveyedResult& survey) {
    Attributes attributes;
    if (isModal(head)) {
        attributes.set("Category", "Vibration");
    }
    if (survey.part != Part::Whole) {
        attributes.set("ComplexPart", survey.part == Part::Real ? "Real" : "Imaginary");
        attributes.set("ComplexCounterpart", survey.counterpart);
    }
    std::string names;
    for (const Component& component : head.components) {
        names += (names.empty() ? "" : ",") + component.name;
    }
    attributes.set("Components", names);
    return attributes;
}

Attributes componentAttributesOf(const ResultHead& head, const Component& component,
                                 const SurveyedResult& survey) {
    Attributes attributes = resultAttributesOf(head, survey);
    attributes.set("Components", component.name);
    if (const char* const part = polarPartOf(component)) {
        attributes.set("ComplexPart", part);
    }
    return attributes;
}

} // namespace Frd
