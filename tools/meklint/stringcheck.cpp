#include "meklint/checks.hpp"
#include "mekreader/quotes.hpp"

#include <variant>

namespace MekLint {

namespace {

constexpr std::size_t largestString = 256;

template <class Add>
void checkAttributes(const MekReader::AttributeList& attributes, const Add& add) {
    for (const auto& [key, value] : attributes) {
        const auto* const string = std::get_if<std::string>(&value);
        if (string != nullptr && string->size() == largestString) {
            add("the attribute " + MekReader::inQuotes(key) +
                " has 256 bytes, the limit: a longer string was truncated");
        }
    }
}

} // namespace

void checkStrings(const MekReader::File& file, const Reporter& reporter) {
    for (const MekReader::Node& node : file.nodes()) {
        if (node.group) {
            checkAttributes(node.group->attributes,
                            [&](const std::string& message) { reporter.add(node, message); });
        }
        for (const MekReader::Variable& variable : node.variables) {
            checkAttributes(variable.attributes, [&](const std::string& message) {
                reporter.add(node, variable, message);
            });
        }
    }
}

} // namespace MekLint
