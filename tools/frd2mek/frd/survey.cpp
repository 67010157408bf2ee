#include "frd/survey.hpp"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <utility>

namespace Frd {

namespace {

constexpr std::size_t longestName = 8;

std::string imaginaryNameOf(const std::string& name) {
    return name.substr(0, longestName - 1) + "I";
}

/// Collects the results of one step, and classifies them when the next step begins.
class StepSurvey {
public:
    explicit StepSurvey(std::vector<SurveyedResult>& results) : results_(results) {}

    void add(const ResultHeader& header) {
        Step step{header.value, header.analysisType, header.number, header.analysisText};
        if (step != step_) {
            finish();
            step_ = std::move(step);
        }
        names_.push_back(header.name);
    }

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
    using Step = std::tuple<double, std::int64_t, std::int64_t, std::string>;

    std::vector<SurveyedResult>& results_;
    Step step_;
    std::vector<std::string> names_;
};

} // namespace

std::vector<SurveyedResult> surveyResults(ResultFile& file) {
    std::vector<SurveyedResult> results;
    StepSurvey step(results);
    ResultHeader header;
    while (file.nextResult(header) && file.skipValues(header)) {
        step.add(header);
    }
    step.finish();
    return results;
}

} // namespace Frd
