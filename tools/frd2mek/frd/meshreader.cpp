#include "frd/meshreader.hpp"

#include "frd/formaterror.hpp"
#include "frd/number.hpp"

#include <algorithm>
#include <string>

namespace Frd {

namespace {

constexpr Columns formatCode{73, 1};
constexpr std::size_t propertyWidth = 5; // I5
constexpr std::size_t spaceDimension = 3;

} // namespace

void MeshReader::readNodes(const Line& header) {
    const Format format = formatOf(header, formatCode);
    const std::uint64_t firstLine = header.number() + 1;
    const std::size_t firstRow = nodes_.size();
    Line line;
    while (nextInBlock(lines_, line, "a record -1 or -3 of the node block")) {
        readNode(line, format);
    }
    if (const auto row = nodes_.buildIndex()) {
        throw FormatError(
            firstLine + (*row - firstRow),
            "expected each node once, found node " + std::to_string(nodes_.ids()[*row]) + " again");
    }
}

void MeshReader::readElements(const Line& header) {
    const Format format = formatOf(header, formatCode);
    Line line;
    while (nextInBlock(lines_, line, "a record -1 or -3 of the element block")) {
        const std::uint32_t id = line.id(format.idColumns(), "an element number");
        const ElementKey key = elementKeyOf(line, format);
        ElementSet& set = mesh_.elements[key];
        set.ids.push_back(id);
        readElementNodes(format, elementTypes[key.second - 1].nodes, set.nodeRows);
    }
}

void MeshReader::readNode(const Line& line, const Format& format) {
    nodes_.add(line.id(format.idColumns(), "a node number"));
    for (std::size_t axis = 0; axis < spaceDimension; ++axis) {
        mesh_.coordinates.push_back(line.value(format.valueColumns(axis), "a coordinate"));
    }
    line.expectEnd(format.valueColumns(spaceDimension).first);
}

ElementKey MeshReader::elementKeyOf(const Line& line, const Format& format) {
    const Columns typeColumns{format.idColumns().end(), propertyWidth};
    const Columns materialColumns{typeColumns.first + 2 * propertyWidth, propertyWidth};
    const std::int64_t type = line.integer(typeColumns, "an element type");
    if (type < 1 || type > static_cast<std::int64_t>(elementTypes.size())) {
        line.failExpecting("an element type from 1 to 12", typeColumns);
    }
    return {materialOf(line, materialColumns), static_cast<std::size_t>(type)};
}

/// In flow analyses the solver writes the name of the material instead of its number.
std::int64_t MeshReader::materialOf(const Line& line, Columns columns) {
    if (const auto number = parseInteger(line.field(columns))) {
        return *number;
    }
    const std::string name = line.nameFrom(columns.first);
    if (name.empty()) {
        line.failExpecting("a material", columns);
    }
    auto& materials = job_.materials;
    const auto found = std::find_if(materials.begin(), materials.end(),
                                    [&](const auto& material) { return material.second == name; });
    if (found != materials.end()) {
        return found->first;
    }
    const std::int64_t number = materials.empty() ? 1 : materials.rbegin()->first + 1;
    materials[number] = name;
    return number;
}

void MeshReader::readElementNodes(const Format& format, std::size_t count,
                                  std::vector<std::uint32_t>& rows) {
    for (std::size_t first = 0; first < count; first += format.nodesPerLine) {
        const Line line = requireRecord(lines_, " -2", "a record -2 of an element");
        const std::size_t onLine = std::min(format.nodesPerLine, count - first);
        for (std::size_t i = 0; i < onLine; ++i) {
            const Columns columns{keyWidth + i * format.idWidth, format.idWidth};
            const std::size_t guess = rows.empty() ? 0 : rows.back() + std::size_t{1};
            rows.push_back(definedNode(line, columns, nodes_, guess));
        }
        line.expectEnd(keyWidth + onLine * format.idWidth);
    }
}

} // namespace Frd
