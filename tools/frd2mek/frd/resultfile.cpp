#include "frd/resultfile.hpp"

#include "frd/formaterror.hpp"
#include "frd/number.hpp"

#include <algorithm>
#include <limits>
#include <string_view>
#include <utility>

namespace Frd {

namespace {

constexpr std::size_t valuesPerLine = 6; // of a result

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
constexpr Columns location{18, 5};
constexpr Columns kind{18, 5};
constexpr Columns existence{33, 5};
} // namespace ComponentColumns

constexpr std::int64_t locatedAtNodes = 1;
constexpr std::int64_t derivedExistence = 1;

} // namespace

ResultFile::ResultFile(const std::filesystem::path& path, LineReader::Watcher watcher)
    : lines_(path, std::move(watcher)), meshReader_(lines_, job_) {
    if (!lines_.next(line_)) {
        throw FormatError(1, "expected a result file (.frd), found an empty one");
    }
    if (!line_.startsWith("    1")) {
        line_.failExpecting("the first record of a result file (.frd), 1C");
    }
    readUpToResult();
}

bool ResultFile::nextResult(ResultHeader& header) {
    if (position_ == Position::AfterBlock) {
        line_ = lines_.require("a record 100C or 9999");
        readUpToResult();
    }
    if (position_ == Position::AtEnd) {
        return false;
    }
    readResultHeader(header);
    return true;
}

void ResultFile::readValues(const ResultHeader& header, std::vector<float>& values) {
    const std::size_t count = header.components.size();
    const Columns idColumns = resultFormat_.idColumns();
    values.assign(nodes().size() * count, std::numeric_limits<float>::quiet_NaN());
    std::vector<bool> hasRow(nodes().size(), false);
    std::size_t guess = 0;
    while (nextInBlock(lines_, line_, "a record -1 or -3 of a result block")) {
        const std::uint32_t row = definedNode(line_, idColumns, nodes(), guess);
        if (hasRow[row]) {
            line_.failExpecting("each node once in a result block", idColumns);
        }
        hasRow[row] = true;
        readNodeValues(count, values.data() + row * count);
        guess = row + std::size_t{1};
    }
    position_ = Position::AfterBlock;
}

/// Reads from the current line to the header of a result block, or to the end of the file.
void ResultFile::readUpToResult() {
    while (readRecord()) {
        line_ = lines_.require("a record 1C, 1U, 1P, 2C, 3C, 100C or 9999");
    }
    if (position_ == Position::AtEnd) {
        expectEndOfFile();
    }
}

/// Reads the record of the current line, and its block if it starts one.
/// @return false if it is the header of a result block or the end
bool ResultFile::readRecord() {
    if (line_.startsWith("  100C")) {
        position_ = Position::AtResult;
        return false;
    }
    if (line_.startsWith(" 9999")) {
        position_ = Position::AtEnd;
        return false;
    }
    if (line_.startsWith("    1P")) {
        readParameter();
    } else if (line_.startsWith("    1U")) {
        readUserText();
    } else if (line_.startsWith("    1C")) {
        job_.name = job_.name.empty() ? line_.nameFrom(headerKeyWidth) : job_.name;
    } else if (line_.startsWith("    2C") || line_.startsWith("    3C")) {
        readMeshBlock();
    } else {
        line_.failExpecting("a record 1C, 1U, 1P, 2C, 3C, 100C or 9999");
    }
    return true;
}

void ResultFile::readUserText() {
    if (line_.startsWith(UserColumns::materialKey)) {
        if (const auto number = parseInteger(line_.field(UserColumns::materialNumber))) {
            job_.materials[*number] = line_.nameFrom(UserColumns::materialName);
            return;
        }
    }
    const std::string key = line_.name(UserColumns::key);
    const auto& known = UserColumns::knownKeys;
    if (std::find(std::begin(known), std::end(known), key) != std::end(known)) {
        job_.records.push_back({key, line_.nameFrom(UserColumns::text)});
    } else {
        job_.records.push_back({"", line_.nameFrom(headerKeyWidth)});
    }
}

void ResultFile::readParameter() {
    const std::string_view record = line_.content().substr(headerKeyWidth);
    const std::size_t nameWidth = std::min(record.find(' '), record.size());
    parameters_.push_back(
        {line_.name({headerKeyWidth, nameWidth}), line_.nameFrom(headerKeyWidth + nameWidth)});
}

void ResultFile::readMeshBlock() {
    if (hasSeenResult_) {
        line_.failExpecting("all nodes and elements before the first result");
    }
    if (line_.startsWith("    2C")) {
        meshReader_.readNodes(line_);
    } else {
        meshReader_.readElements(line_);
    }
}

void ResultFile::readResultHeader(ResultHeader& header) {
    hasSeenResult_ = true;
    resultFormat_ = formatOf(line_, ResultColumns::format);
    header.value = line_.doubleOrZero(ResultColumns::value, "a time, frequency or factor");
    header.analysisType = line_.integerOrZero(ResultColumns::analysisType, "an analysis type");
    header.number = line_.integerOrZero(ResultColumns::number, "a step number");
    header.text = line_.name(ResultColumns::text);
    header.analysisText = line_.name(ResultColumns::analysisText);
    header.parameters = std::exchange(parameters_, {});

    line_ = requireRecord(lines_, " -4", "a record -4 with the name of the result");
    header.name = line_.name(ComponentColumns::name);
    if (header.name.empty()) {
        line_.failExpecting("the name of the result", ComponentColumns::name);
    }
    if (line_.integer(ComponentColumns::location, "1 for values at nodes") != locatedAtNodes) {
        line_.failExpecting("1 for values at nodes", ComponentColumns::location);
    }
    readComponents(header.components,
                   line_.integer(ComponentColumns::count, "a number of components"));
}

void ResultFile::readComponents(std::vector<Component>& components, std::int64_t count) {
    if (count < 0) {
        line_.failExpecting("a number of components", ComponentColumns::count);
    }
    components.clear();
    for (std::int64_t i = 0; i < count; ++i) {
        line_ = requireRecord(lines_, " -5", "a record -5 with a component");
        const std::int64_t kind = line_.integer(ComponentColumns::kind, "a kind of component");
        const std::int64_t existence =
            line_.integerOrZero(ComponentColumns::existence, "0, 1 or 2 for existence");
        if (existence != derivedExistence) {
            components.push_back({line_.name(ComponentColumns::name), kind});
        }
    }
}

/// Reads the values of one node from the current line and its continuation lines.
void ResultFile::readNodeValues(std::size_t count, float* values) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t column = i % valuesPerLine;
        if (i != 0 && column == 0) {
            line_ = requireRecord(lines_, " -2", "a record -2 with further values");
        }
        values[i] = line_.value(resultFormat_.valueColumns(column), "a value");
        if (column == valuesPerLine - 1 || i == count - 1) {
            line_.expectEnd(resultFormat_.valueColumns(column).end());
        }
    }
}

void ResultFile::expectEndOfFile() {
    while (lines_.next(line_)) {
        if (!line_.content().empty()) {
            line_.failExpecting("nothing after the record 9999");
        }
    }
}

} // namespace Frd
