#include "frd/survey.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace Frd {

namespace {

constexpr Columns stepValue{12, 12};
constexpr Columns stepKind{56, 17}; // analysis type, number, text
constexpr Columns resultName{5, 8};

std::string imaginaryNameOf(const std::string& name) {
    return name.substr(0, resultName.width - 1) + "I";
}

/// Collects the results of one step, and classifies them when the next step begins.
class StepSurvey {
public:
    explicit StepSurvey(std::vector<SurveyedResult>& results) : results_(results) {}

    void enter(const std::string& step) {
        if (step != step_) {
            finish();
            step_ = step;
        }
    }

    void add(std::string name) { names_.push_back(std::move(name)); }

    void finish() {
        std::map<std::string, std::string> realNames; // by the name of the imaginary part
        for (const std::string& name : names_) {
            if (imaginaryNameOf(name) != name) {
                realNames[imaginaryNameOf(name)] = name;
            }
        }
        const std::set<std::string> present(names_.begin(), names_.end());
        const bool isComplex =
            std::any_of(realNames.begin(), realNames.end(),
                        [&](const auto& pair) { return present.count(pair.first) != 0; });
        for (const std::string& name : names_) {
            const std::string imaginary = imaginaryNameOf(name);
            const auto real = realNames.find(name);
            if (real != realNames.end()) {
                results_.push_back({ComplexPart::Imaginary, real->second, isComplex});
            } else if (imaginary != name && present.count(imaginary) != 0) {
                results_.push_back({ComplexPart::Real, imaginary, isComplex});
            } else {
                results_.push_back({ComplexPart::Whole, {}, isComplex});
            }
        }
        names_.clear();
    }

private:
    std::vector<SurveyedResult>& results_;
    std::string step_;
    std::vector<std::string> names_;
};

} // namespace

std::vector<SurveyedResult> surveyResults(LineReader& lines) {
    std::vector<SurveyedResult> results;
    StepSurvey step(results);
    Line line;
    bool isInHeader = false;
    while (lines.next(line)) {
        if (line.startsWith("  100C")) {
            step.enter(line.name(stepValue) + line.name(stepKind));
            isInHeader = true;
        } else if (isInHeader && line.startsWith(" -4")) {
            step.add(line.name(resultName));
            isInHeader = false;
        }
    }
    step.finish();
    return results;
}

} // namespace Frd
