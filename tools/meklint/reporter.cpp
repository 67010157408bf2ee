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
    report_({placeOf(node), std::string(name.result), std::string(name.step), message});
}

/// The path of a geometry is that of its shape, which has the same name.
std::string Reporter::placeOf(const MekReader::Node& node) const {
    std::string path = node.type == "Geometry" ? "" : "/" + node.name;
    for (const MekReader::Node* const ancestor : MekReader::ancestorsOf(file_, node)) {
        path.insert(0, "/" + ancestor->name);
    }
    return std::to_string(node.id) + " (" + path + ")";
}

} // namespace MekLint
