#include "meklint/reporter.hpp"

#include "mekreader/navigation.hpp"
#include "mekreader/variables.hpp"

namespace MekLint {

void Reporter::add(const std::string& message) const { report_({{}, {}, {}, message}); }

void Reporter::add(const MekReader::Node& node, const std::string& message) const {
    report_({placeOf(node), {}, {}, message});
}

void Reporter::add(const MekReader::Node& node, const MekReader::Variable& variable,
                   const std::string& message) const {
    const MekReader::VariableName name = MekReader::splitName(variable.name);
    report_(
        {placeOf(node), std::string(name.quantity), std::string(name.step.value_or("")), message});
}

std::string Reporter::placeOf(const MekReader::Node& node) const {
    return std::to_string(node.id) + " (" + MekReader::pathOf(file_, node) + ")";
}

} // namespace MekLint
