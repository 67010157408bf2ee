#include "mekinfo/statistics.hpp"

#include "console/error.hpp"
#include "mekinfo/table.hpp"
#include "meknames/lookup.hpp"
#include "mekreader/variables.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

namespace MekInfo {

namespace {

using MekReader::File;
using MekReader::Variable;

template <class T>
Statistics statisticsOf(const std::vector<T>& values) {
    Statistics statistics;
    double sum = 0;
    for (const T value : values) {
        const auto number = static_cast<double>(value); // exact
        if (std::isnan(number)) {
            ++statistics.nanCount;
            continue;
        }
        sum += number;
        // the other argument is returned if one is NaN
        statistics.minimum = std::fmin(statistics.minimum, number);
        statistics.maximum = std::fmax(statistics.maximum, number);
    }
    if (statistics.nanCount < values.size()) {
        statistics.mean = sum / static_cast<double>(values.size() - statistics.nanCount);
    }
    return statistics;
}

std::string shown(double number) {
    if (std::isnan(number)) {
        return "-";
    }
    std::ostringstream text;
    text << number;
    return text.str();
}

/// An unsigned number of any size is shown whole.
std::string shownElement(double element, const Variable& owner) {
    return owner.elementType == Variable::floatElements || std::isnan(element)
               ? shown(element)
               : std::to_string(static_cast<std::uint32_t>(element));
}

/// @param path of the shape of the variable
Row rowOf(const File& file, StatisticsReader& reader, const std::string& path,
          const Variable& variable) {
    const MekReader::VariableName name = MekReader::splitName(variable.name);
    Row row{path, Console::printable(name.quantity),
            name.step ? Console::printable(*name.step) : "-"};
    if (file.hasCircularLinks(variable)) {
        row.insert(row.end(), {"no array", "-", "-", "-", "-"});
        return row;
    }
    const Variable& owner = file.owner(variable);
    const Statistics& statistics = reader.of(owner);
    row.insert(row.end(), {std::to_string(owner.rows()), shownElement(statistics.minimum, owner),
                           shownElement(statistics.maximum, owner), shown(statistics.mean),
                           std::to_string(statistics.nanCount)});
    return row;
}

} // namespace

const Statistics& StatisticsReader::of(const Variable& variable) {
    const Variable& owner = file_.owner(variable);
    const auto found = known_.find(&owner);
    if (found != known_.end()) {
        return found->second;
    }
    return known_[&owner] = owner.elementType == Variable::floatElements
                                ? statisticsOf(file_.floats(owner))
                                : statisticsOf(file_.words(owner));
}

void printStatistics(std::ostream& out, File& file) {
    const std::vector<Column> columns{{"path"},
                                      {"variable"},
                                      {"step"},
                                      {"rows", Align::Right},
                                      {"minimum", Align::Right},
                                      {"maximum", Align::Right},
                                      {"mean", Align::Right},
                                      {"NaN", Align::Right}};
    const MekNames::Tree tree(file);
    StatisticsReader reader(file);
    printTable(out, columns, [&](const auto& visit) {
        for (const MekReader::Node& node : file.nodes()) {
            if (node.variables.empty()) {
                continue;
            }
            const std::string path = Console::printable(tree.shapePathOf(node));
            for (const Variable& variable : node.variables) {
                visit(rowOf(file, reader, path, variable));
            }
        }
    });
}

} // namespace MekInfo
