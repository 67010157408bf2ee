#include "frd/resultfile.hpp"

#include "frd/formaterror.hpp"
#include "frd/number.hpp"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

namespace Frd {

namespace {

constexpr std::size_t keyWidth = 3;      // of ' -1' and its like
constexpr std::size_t headKeyWidth = 6;  // of '    1C' and its like
constexpr std::size_t valueWidth = 12;   // E12.5
constexpr std::size_t valuesPerLine = 6; // of a result
constexpr std::size_t propertyWidth = 5; // I5
constexpr std::size_t spaceDimension = 3;
constexpr Columns meshFormat{73, 1};

/// Records 1U.
namespace UserColumns {
constexpr Columns key{6, 18};
constexpr std::size_t text = 24;
constexpr Columns materialNumber{9, 5};
constexpr std::size_t materialName = 14;
constexpr std::string_view materialKey = "    1UMAT";
constexpr std::string_view knownKeys[] = {"USER",    "DATE",        "TIME", "HOST", "PGM",
                                          "VERSION", "COMPILETIME", "DIR",  "DBN"};
} // namespace UserColumns

/// Record 100C.
namespace ResultColumns {
constexpr Columns value{12, 12};
constexpr Columns text{36, 20};
constexpr Columns analysisType{56, 2};
constexpr Columns number{58, 5};
constexpr Columns analysisText{63, 10};
constexpr Columns format{73, 2};
} // namespace ResultColumns

/// Records -4 and -5.
namespace ComponentColumns {
constexpr Columns name{5, 8};
constexpr Columns count{13, 5};
constexpr Columns place{18, 5};
constexpr Columns kind{18, 5};
constexpr Columns existence{33, 5};
} // namespace ComponentColumns

constexpr std::int64_t placeAtNodes = 1;
constexpr std::int64_t derivedExistence = 1;

} // namespace

ResultFile::ResultFile(const std::filesystem::path& path, LineReader::Watcher watcher)
    : lines_(path, std::move(watcher)) {
    if (!lines_.next(line_)) {
        throw FormatError(1, "expected a result file (.frd), found an empty one");
    }
    if (!line_.startsWith("    1")) {
        line_.failExpecting("the first record of a result file (.frd), 1C");
    }
    readUpToResult();
}

Mesh ResultFile::takeMesh() {
    return std::exchange(mesh_, {});
}

bool ResultFile::nextResult(ResultHead& head) {
    if (place_ == Place::BehindBlock) {
        line_ = lines_.require("a record 100C or 9999");
        readUpToResult();
    }
    if (place_ == Place::AtEnd) {
        return false;
    }
    readResultHead(head);
    return true;
}

void ResultFile::readValues(const ResultHead& head, std::vector<float>& values) {
    const std::size_t count = head.components.size();
    const Columns idColumns{keyWidth, resultFormat_.idWidth};
    values.assign(nodes_.size() * count, std::numeric_limits<float>::quiet_NaN());
    std::vector<bool> hasRow(nodes_.size(), false);
    std::size_t guess = 0;
    while (nextInBlock("a record -1 or -3 of a result block")) {
        const std::uint32_t row = definedNode(idColumns, guess);
        if (hasRow[row]) {
            line_.failExpecting("each node once in a result block", idColumns);
        }
        hasRow[row] = true;
        readNodeValues(count, values.data() + row * count);
        guess = row + std::size_t{1};
    }
    place_ = Place::BehindBlock;
}

/// From the line at hand to the head of a result block, or to the end of the file.
void ResultFile::readUpToResult() {
    while (readRecord()) {
        line_ = lines_.require("a record 1C, 1U, 1P, 2C, 3C, 100C or 9999");
    }
    if (place_ == Place::AtEnd) {
        expectEndOfFile();
    }
}

/// Reads the record of the line at hand with all that belongs to it.
/// @return false if it is the head of a result block or the end
bool ResultFile::readRecord() {
    if (line_.startsWith("  100C")) {
        place_ = Place::AtResult;
        return false;
    }
    if (line_.startsWith(" 9999")) {
        place_ = Place::AtEnd;
        return false;
    }
    if (line_.startsWith("    1P")) {
        readParameter();
    } else if (line_.startsWith("    1U")) {
        readUserText();
    } else if (line_.startsWith("    1C")) {
        job_.name = job_.name.empty() ? line_.nameFrom(headKeyWidth) : job_.name;
    } else if (line_.startsWith("    2C")) {
        readNodes(formatOf(line_, meshFormat));
    } else if (line_.startsWith("    3C")) {
        readElements(formatOf(line_, meshFormat));
    } else {
        line_.failExpecting("a record 1C, 1U, 1P, 2C, 3C, 100C or 9999");
    }
    return true;
}

ResultFile::Format ResultFile::formatOf(const Line& head, Columns code) {
    switch (head.integerOrZero(code, "a format code")) {
        case 0:
            return {5, 15};
        case 1:
            return {10, 10};
        default:
            head.failExpecting(
                "format code 0 or 1 (text; a binary file has 2 or 3, and results written with "
                "*NODE FILE and *EL FILE are text)",
                code);
    }
}

void ResultFile::readUserText() {
    if (line_.startsWith(UserColumns::materialKey)) {
        if (const auto number = parseInteger(line_.text(UserColumns::materialNumber))) {
            job_.materials[*number] = line_.nameFrom(UserColumns::materialName);
            return;
        }
    }
    const std::string key = line_.name(UserColumns::key);
    const auto& known = UserColumns::knownKeys;
    if (std::find(std::begin(known), std::end(known), key) != std::end(known)) {
        job_.texts.push_back({key, line_.nameFrom(UserColumns::text)});
    } else {
        job_.texts.push_back({"", line_.nameFrom(headKeyWidth)});
    }
}

void ResultFile::readParameter() {
    const std::string_view record = line_.text().substr(headKeyWidth);
    const std::size_t nameWidth = std::min(record.find(' '), record.size());
    parameters_.push_back(
        {line_.name({headKeyWidth, nameWidth}), line_.nameFrom(headKeyWidth + nameWidth)});
}

void ResultFile::readNodes(const Format& format) {
    expectNoResultBefore();
    const std::uint64_t firstLine = line_.number() + 1;
    const std::size_t firstRow = nodes_.size();
    const Columns idColumns{keyWidth, format.idWidth};
    while (nextInBlock("a record -1 or -3 of the node block")) {
        nodes_.add(line_.id(idColumns, "a node number"));
        for (std::size_t axis = 0; axis < spaceDimension; ++axis) {
            const Columns columns{idColumns.end() + axis * valueWidth, valueWidth};
            mesh_.coordinates.push_back(line_.value(columns, "a coordinate"));
        }
        line_.expectEnd(idColumns.end() + spaceDimension * valueWidth);
    }
    if (const auto row = nodes_.arrange()) {
        throw FormatError(
            firstLine + (*row - firstRow),
            "expected each node once, found node " + std::to_string(nodes_.ids()[*row]) + " again");
    }
}

void ResultFile::readElements(const Format& format) {
    expectNoResultBefore();
    while (nextInBlock("a record -1 or -3 of the element block")) {
        const std::uint32_t id = line_.id({keyWidth, format.idWidth}, "an element number");
        const ElementKey key = elementKeyOf(format);
        ElementSet& set = mesh_.elements[key];
        set.ids.push_back(id);
        readElementNodes(format, elementTypes[key.second - 1].nodes, set.nodeRows);
    }
}

ElementKey ResultFile::elementKeyOf(const Format& format) {
    const Columns typeColumns{keyWidth + format.idWidth, propertyWidth};
    const Columns materialColumns{typeColumns.first + 2 * propertyWidth, propertyWidth};
    const std::int64_t type = line_.integer(typeColumns, "an element type");
    if (type < 1 || type > static_cast<std::int64_t>(elementTypes.size())) {
        line_.failExpecting("an element type from 1 to 12", typeColumns);
    }
    return {materialOf(materialColumns), static_cast<std::size_t>(type)};
}

/// The solver's flow analyses put the name of the material in the place of its number.
std::int64_t ResultFile::materialOf(Columns columns) {
    if (const auto number = parseInteger(line_.text(columns))) {
        return *number;
    }
    const std::string name = line_.nameFrom(columns.first);
    if (name.empty()) {
        line_.failExpecting("a material", columns);
    }
    const auto hasName = [&](const auto& material) { return material.second == name; };
    const auto found = std::find_if(job_.materials.begin(), job_.materials.end(), hasName);
    if (found != job_.materials.end()) {
        return found->first;
    }
    const std::int64_t number = job_.materials.empty() ? 1 : job_.materials.rbegin()->first + 1;
    job_.materials[number] = name;
    return number;
}

void ResultFile::readElementNodes(const Format& format, std::size_t count,
                                  std::vector<std::uint32_t>& rows) {
    for (std::size_t first = 0; first < count; first += format.nodesPerLine) {
        line_ = lines_.require("a record -2 of an element");
        if (!line_.startsWith(" -2")) {
            line_.failExpecting("a record -2 of an element");
        }
        const std::size_t onLine = std::min(format.nodesPerLine, count - first);
        for (std::size_t i = 0; i < onLine; ++i) {
            const std::size_t guess = rows.empty() ? 0 : rows.back() + std::size_t{1};
            rows.push_back(definedNode({keyWidth + i * format.idWidth, format.idWidth}, guess));
        }
        line_.expectEnd(keyWidth + onLine * format.idWidth);
    }
}

void ResultFile::readResultHead(ResultHead& head) {
    hasSeenResult_ = true;
    resultFormat_ = formatOf(line_, ResultColumns::format);
    head.value = line_.doubleOrZero(ResultColumns::value, "a time, frequency or factor");
    head.analysisType = line_.integerOrZero(ResultColumns::analysisType, "an analysis type");
    head.number = line_.integerOrZero(ResultColumns::number, "a step number");
    head.text = line_.name(ResultColumns::text);
    head.analysisText = line_.name(ResultColumns::analysisText);
    head.parameters = std::exchange(parameters_, {});

    line_ = lines_.require("a record -4 with the name of the result");
    head.name = line_.name(ComponentColumns::name);
    if (!line_.startsWith(" -4") || head.name.empty()) {
        line_.failExpecting("a record -4 with the name of the result");
    }
    if (line_.integer(ComponentColumns::place, "1 for values at nodes") != placeAtNodes) {
        line_.failExpecting("1 for values at nodes", ComponentColumns::place);
    }
    readComponents(head.components,
                   line_.integer(ComponentColumns::count, "a number of components"));
}

void ResultFile::readComponents(std::vector<Component>& components, std::int64_t count) {
    components.clear();
    for (std::int64_t i = 0; i < count; ++i) {
        line_ = lines_.require("a record -5 with a component");
        if (!line_.startsWith(" -5")) {
            line_.failExpecting("a record -5 with a component");
        }
        const std::int64_t kind = line_.integer(ComponentColumns::kind, "a kind of component");
        const std::int64_t existence =
            line_.integerOrZero(ComponentColumns::existence, "0, 1 or 2 for existence");
        if (existence != derivedExistence) {
            components.push_back({line_.name(ComponentColumns::name), kind});
        }
    }
}

/// Takes the values of one node from the line at hand and those that continue it.
void ResultFile::readNodeValues(std::size_t count, float* values) {
    const std::size_t firstColumn = keyWidth + resultFormat_.idWidth;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = i % valuesPerLine;
        if (i != 0 && place == 0) {
            line_ = lines_.require("a record -2 with further values");
            if (!line_.startsWith(" -2")) {
                line_.failExpecting("a record -2 with further values");
            }
        }
        values[i] = line_.value({firstColumn + place * valueWidth, valueWidth}, "a value");
        if (place == valuesPerLine - 1 || i == count - 1) {
            line_.expectEnd(firstColumn + (place + 1) * valueWidth);
        }
    }
}

/// Takes the next line of a block.
/// @return whether it is a record -1; else it is the -3 that ends the block
bool ResultFile::nextInBlock(const char* expected) {
    line_ = lines_.require(expected);
    if (!line_.startsWith(" -1") && !line_.startsWith(" -3")) {
        line_.failExpecting(expected);
    }
    return line_.startsWith(" -1");
}

void ResultFile::expectNoResultBefore() const {
    if (hasSeenResult_) {
        line_.failExpecting("all nodes and elements before the first result");
    }
}

std::uint32_t ResultFile::definedNode(Columns columns, std::size_t guess) const {
    const auto row = nodes_.rowOf(line_.id(columns, "a node number"), guess);
    if (!row) {
        line_.failExpecting("a node of the node block", columns);
    }
    return *row;
}

void ResultFile::expectEndOfFile() {
    while (lines_.next(line_)) {
        if (!line_.text().empty()) {
            line_.failExpecting("nothing behind the record 9999");
        }
    }
}

} // namespace Frd
