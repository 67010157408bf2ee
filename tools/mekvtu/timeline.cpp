#include "mekvtu/timeline.hpp"

#include "mekreader/variables.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <variant>

namespace MekVtu {

namespace {

template <class Number>
std::string shortest(Number number) {
    std::array<char, 64> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), result.ptr};
}

std::optional<double> numberOf(const MekReader::AttributeValue& value) {
    if (const auto* const number = std::get_if<std::uint32_t>(&value)) {
        return *number;
    }
    if (const auto* const number = std::get_if<double>(&value)) {
        return *number;
    }
    if (const auto* const number = std::get_if<float>(&value)) {
        const std::string text = shortest(*number);
        double decimal = *number;
        std::from_chars(text.data(), text.data() + text.size(), decimal);
        return decimal;
    }
    return std::nullopt;
}

/// A step and the times that the attributes of its results give.
struct FoundStep {
    std::string name;
    std::array<std::optional<double>, timeKeys.size()> times{};
};

std::vector<FoundStep> stepsOf(const MekReader::File& file) {
    std::vector<FoundStep> steps;
    std::map<std::string, std::size_t, std::less<>> indexes;
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            const std::string_view name = MekReader::stepOf(variable.name);
            if (name.empty()) {
                continue;
            }
            const auto [position, isNew] = indexes.emplace(name, steps.size());
            if (isNew) {
                steps.push_back({std::string(name)});
            }
            FoundStep& step = steps[position->second];
            for (std::size_t key = 0; key < timeKeys.size(); ++key) {
                if (!step.times[key]) {
                    step.times[key] = numberAt(variable.attributes, timeKeys[key]);
                }
            }
        }
    }
    return steps;
}

/// Whether every step has a time of this key, and no two times are equal.
bool areTimes(const std::vector<FoundStep>& steps, std::size_t key) {
    std::set<double> times;
    return std::all_of(steps.begin(), steps.end(), [&](const FoundStep& step) {
        const std::optional<double>& time = step.times[key];
        return time && std::isfinite(*time) && times.insert(*time).second;
    });
}

} // namespace

std::optional<double> numberAt(const MekReader::AttributeList& attributes, const char* key) {
    const auto found = attributes.find(key);
    return found != attributes.end() ? numberOf(found->second) : std::nullopt;
}

Timeline timeline(const MekReader::File& file) {
    const std::vector<FoundStep> steps = stepsOf(file);
    if (steps.empty()) {
        return {{TimeStep{}}};
    }
    std::size_t key = 0;
    while (key < timeKeys.size() && !areTimes(steps, key)) {
        ++key;
    }
    Timeline line;
    line.isByAttributes = key < timeKeys.size();
    for (const FoundStep& step : steps) {
        const auto number = static_cast<double>(line.steps.size());
        line.steps.push_back({step.name, line.isByAttributes ? *step.times[key] : number});
    }
    std::stable_sort(
        line.steps.begin(), line.steps.end(),
        [](const TimeStep& left, const TimeStep& right) { return left.time < right.time; });
    return line;
}

std::string formatNumber(double number) { return shortest(number); }

} // namespace MekVtu
