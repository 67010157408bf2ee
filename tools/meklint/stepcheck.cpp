#include "meklint/checks.hpp"
#include "mekreader/variables.hpp"
#include "mekvtu/timeline.hpp"

#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace MekLint {

namespace {

using MekReader::Node;
using MekReader::Variable;

void checkNames(const Reporter& reporter, const Node& geometry) {
    std::set<std::string_view> names;
    for (const Variable& variable : geometry.variables) {
        if (!names.insert(variable.name).second) {
            reporter.add(geometry, variable, "an earlier variable has the same name and step");
        }
        const std::string_view step = MekReader::stepOf(variable.name);
        if (!MekReader::stepOf(step).empty()) {
            reporter.add(geometry, variable, "its name has two steps: the byte 1E occurs twice");
        }
    }
}

/// Finds steps of one name with different positions on the time axis.
class PositionCheck {
public:
    explicit PositionCheck(const Reporter& reporter) : reporter_(reporter) {}

    void check(const Node& geometry, const Variable& variable) {
        const std::string_view step = MekReader::stepOf(variable.name);
        if (step.empty()) {
            return;
        }
        for (const char* const key : MekVtu::timeKeys) {
            const auto position = MekVtu::numberAt(variable.attributes, key);
            if (!position) {
                continue;
            }
            Position& first = first_.try_emplace({step, key}, Position{*position}).first->second;
            if (first.number != *position && !std::exchange(first.isReported, true)) {
                reporter_.add(geometry, variable,
                              "two steps have this name: \"" + std::string(key) + "\" is " +
                                  MekVtu::formatNumber(*position) + " here and " +
                                  MekVtu::formatNumber(first.number) + " before");
            }
        }
    }

private:
    struct Position {
        double number;
        bool isReported = false;
    };

    const Reporter& reporter_;
    std::map<std::pair<std::string_view, std::string_view>, Position> first_; ///< by step and key
};

} // namespace

void checkSteps(const MekReader::File& file, const Reporter& reporter) {
    PositionCheck positions(reporter);
    for (const Node& node : file.nodes()) {
        checkNames(reporter, node);
        for (const Variable& variable : node.variables) {
            positions.check(node, variable);
        }
    }
}

} // namespace MekLint
