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

constexpr std::int64_t binaryNodes = 3;
constexpr std::int64_t binaryElements = 2;

/// i32 number, 3 f64.
namespace BinaryNode {
constexpr std::size_t coordinates = 4;
constexpr std::size_t size = 28;
} // namespace BinaryNode

/// i32 number, type, group, material, nodes.
namespace BinaryElement {
constexpr std::size_t type = 4;
constexpr std::size_t material = 12;
constexpr std::size_t nodes = 16;
} // namespace BinaryElement

bool isElementType(std::int64_t type) {
    return type >= 1 && type <= static_cast<std::int64_t>(elementTypes.size());
}

std::size_t nodeCountOf(const ElementKey& key) { return elementTypes[key.second - 1].nodes; }

} // namespace

void MeshReader::readNodes(const Line& header) {
    const BlockHead head = blockHeadOf(header, formatCode, binaryNodes);
    const std::size_t firstRow = nodes_.size();
    try {
        if (head.format.isBinary) {
            readBinaryNodes(head);
        } else {
            readTextNodes(head.format);
        }
    } catch (const EndOfFile&) {
        nodes_.resize(firstRow);
        mesh_.coordinates.resize(firstRow * spaceDimension);
        throw;
    }
    if (const auto row = nodes_.buildIndex()) {
        const std::string found =
            "expected each node once, found node " + std::to_string(nodes_.ids()[*row]) + " again";
        const std::uint64_t record = *row - firstRow + 1;
        throw head.format.isBinary
            ? FormatError(head.line, found + " in record " + std::to_string(record) +
                                         " of the binary block after this line")
            : FormatError(head.line + record, found);
    }
}

void MeshReader::readTextNodes(const Format& format) {
    Line line;
    while (nextInBlock(input_, line, "a record -1 or -3 of the node block")) {
        nodes_.add(line.id(format.idColumns(), "a node number"));
        for (std::size_t axis = 0; axis < spaceDimension; ++axis) {
            mesh_.coordinates.push_back(line.value(format.valueColumns(axis), "a coordinate"));
        }
        line.expectEnd(format.valueColumns(spaceDimension).first);
    }
}

void MeshReader::readBinaryNodes(const BlockHead& head) {
    BinaryBlock block(input_, head);
    while (!block.isAtEnd()) {
        const std::string_view record = block.take(BinaryNode::size);
        nodes_.add(block.id(record, 0, "a node number"));
        for (std::size_t axis = 0; axis < spaceDimension; ++axis) {
            mesh_.coordinates.push_back(
                float64At(record, BinaryNode::coordinates + axis * sizeof(double)));
        }
    }
}

void MeshReader::readElements(const Line& header) {
    const BlockHead head = blockHeadOf(header, formatCode, binaryElements);
    ElementBlock elements;
    Element element;
    if (head.format.isBinary) {
        BinaryBlock block(input_, head);
        while (!block.isAtEnd()) {
            readBinaryElement(block, element);
            add(element, elements);
        }
    } else {
        Line line;
        while (nextInBlock(input_, line, "a record -1 or -3 of the element block")) {
            readTextElement(line, head.format, element);
            add(element, elements);
        }
    }
    append(std::move(elements));
}

void MeshReader::readTextElement(const Line& line, const Format& format, Element& element) {
    element.id = line.id(format.idColumns(), "an element number");
    element.key = elementKeyOf(line, format);
    const std::size_t count = nodeCountOf(element.key);
    for (std::size_t first = 0; first < count; first += format.nodesPerLine) {
        const Line nodes = requireRecord(input_, " -2", "a record -2 of an element");
        const std::size_t onLine = std::min(format.nodesPerLine, count - first);
        for (std::size_t i = 0; i < onLine; ++i) {
            element.nodes[first + i] =
                nodes.id({keyWidth + i * format.idWidth, format.idWidth}, "a node number");
        }
        nodes.expectEnd(keyWidth + onLine * format.idWidth);
    }
}

ElementKey MeshReader::elementKeyOf(const Line& line, const Format& format) {
    const Columns typeColumns{format.idColumns().end(), propertyWidth};
    const Columns materialColumns{typeColumns.first + 2 * propertyWidth, propertyWidth};
    const std::int64_t type = line.integer(typeColumns, "an element type");
    if (!isElementType(type)) {
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

void MeshReader::readBinaryElement(BinaryBlock& block, Element& element) {
    const std::int32_t type = int32At(block.peek(BinaryElement::nodes), BinaryElement::type);
    const std::size_t count = isElementType(type) ? nodeCountOf({0, type}) : 0;
    const std::string_view record = block.take(BinaryElement::nodes + count * sizeof(std::int32_t));
    if (count == 0) {
        block.failExpecting("an element type from 1 to 12", type);
    }
    element.id = block.id(record, 0, "an element number");
    element.key = {int32At(record, BinaryElement::material), static_cast<std::size_t>(type)};
    for (std::size_t i = 0; i < count; ++i) {
        element.nodes[i] =
            block.id(record, BinaryElement::nodes + i * sizeof(std::int32_t), "a node number");
    }
}

void MeshReader::add(const Element& element, ElementBlock& block) const {
    const std::size_t count = nodeCountOf(element.key);
    std::array<std::uint32_t, mostNodes> rows{};
    std::size_t guess = block.guess;
    for (std::size_t i = 0; i < count; ++i) {
        const auto row = nodes_.rowOf(element.nodes[i], guess);
        if (!row) {
            ++block.leftOut;
            return;
        }
        rows[i] = *row;
        guess = *row + std::size_t{1};
    }
    block.guess = guess;
    ++block.count;
    ElementSet& set = block.sets[element.key];
    set.ids.push_back(element.id);
    set.nodeRows.insert(set.nodeRows.end(), rows.begin(),
                        rows.begin() + static_cast<std::ptrdiff_t>(count));
}

void MeshReader::append(ElementBlock&& block) {
    elementCount_ += block.count;
    elementsLeftOut_ += block.leftOut;
    for (auto& [key, added] : block.sets) {
        ElementSet& set = mesh_.elements[key];
        if (set.ids.empty()) {
            set = std::move(added);
            continue;
        }
        set.ids.insert(set.ids.end(), added.ids.begin(), added.ids.end());
        set.nodeRows.insert(set.nodeRows.end(), added.nodeRows.begin(), added.nodeRows.end());
    }
}

} // namespace Frd
