#include "meklint/arrayfacts.hpp"
#include "meklint/checks.hpp"

namespace MekLint {

namespace {

using MekReader::Variable;

std::string describeType(const Variable& variable) {
    return "type " + std::to_string(variable.type) +
           (variable.elementType == Variable::floatElements ? " of floats"
                                                            : " of unsigned numbers");
}

void checkLink(const MekReader::File& file, const Reporter& reporter, const MekReader::Node& node,
               const Variable& link) {
    if (file.hasCircularLinks(link)) {
        reporter.add(node, link, "it has no array: its links form a circle");
        return;
    }
    const Variable* const owner = ownerOf(link);
    if (owner == nullptr) {
        reporter.add(node, link,
                     "it has no array: its links lead to a variable that does not exist");
    } else if (link.type != owner->type || link.elementType != owner->elementType) {
        reporter.add(node, link,
                     "it has " + describeType(link) + ", but the array that it links to has " +
                         describeType(*owner));
    }
}

} // namespace

void checkLinks(const MekReader::File& file, const Reporter& reporter) {
    for (const MekReader::Node& node : file.nodes()) {
        for (const Variable& variable : node.variables) {
            if (variable.linked) {
                checkLink(file, reporter, node, variable);
            }
        }
    }
}

} // namespace MekLint
