#include "meklint/finding.hpp"

#include "mekreader/quotes.hpp"

namespace MekLint {

namespace {

/// Control characters are escaped as in a quoted name.
std::string withoutQuotes(const std::string& name) {
    const std::string quoted = MekReader::inQuotes(name);
    return quoted.substr(1, quoted.size() - 2);
}

} // namespace

std::string toLine(const Finding& finding) {
    std::string place;
    const auto append = [&place](const char* kind, const std::string& name) {
        place += (place.empty() ? "" : ", ") + (kind + name);
    };
    if (!finding.node.empty()) {
        append("node ", withoutQuotes(finding.node));
    }
    if (!finding.variable.empty()) {
        append("variable ", MekReader::inQuotes(finding.variable));
    }
    if (!finding.step.empty()) {
        append("step ", MekReader::inQuotes(finding.step));
    }
    return place + (place.empty() ? "" : ": ") + finding.message;
}

} // namespace MekLint
