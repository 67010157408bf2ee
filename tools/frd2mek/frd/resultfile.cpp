#include "frd/resultfile.hpp"

#include "frd/binaryblock.hpp"
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
constexpr std::int64_t binaryResults = 2;

constexpr std::string_view endKey = " 9999";
constexpr const char* headRecords = "a record 1C, 1U, 1P, 2C, 3C, 100C or 9999";
constexpr const char* valueRecords = "a record -1 or -3 of a result block";
constexpr const char* nodeNumber = "a node number";
constexpr const char* eachNodeOnce = "each node once in a result block";

/// i32 node, a f32 for each component.
constexpr std::size_t binaryRecordSize(std::size_t components) {
    return sizeof(std::int32_t) + components * sizeof(float);
}

} // namespace

/// The values of one result block, a row for each node of the node block.
class ResultFile::ValueTable {
public:
    ValueTable(const NodeTable& nodes, std::size_t width, std::vector<float>& values)
        : nodes_(nodes), width_(width), values_(values), hasRow_(nodes.size()), spare_(width) {
        values_.assign(nodes.size() * width, std::numeric_limits<float>::quiet_NaN());
    }

    std::size_t width() const { return width_; }

    /// Where to write the values of a node, or null if the node has values already. Values of a
    /// node that the node block does not define are left out.
    float* rowOf(std::uint32_t id) {
        const auto row = nodes_.rowOf(id, guess_);
        if (!row) {
            ++leftOut_;
            return spare_.data();
        }
        if (hasRow_[*row]) {
            return nullptr;
        }
        hasRow_[*row] = true;
        guess_ = *row + std::size_t{1};
        return values_.data() + *row * width_;
    }

    std::uint64_t leftOut() const { return leftOut_; }

private:
    const NodeTable& nodes_;
    std::size_t width_;
    std::vector<float>& values_;
    std::vector<bool> hasRow_;
    std::vector<float> spare_;
    std::size_t guess_ = 0;
    std::uint64_t leftOut_ = 0;
};

ResultFile::ResultFile(const std::filesystem::path& path, InputReader::Watcher watcher)
    : input_(path, std::move(watcher)), meshReader_(input_, job_) {
    constexpr std::string_view firstKey = "    1";
    const std::string_view first = input_.peek(firstKey.size());
    if (first != firstKey.substr(0, first.size())) {
        throw FormatError(1, "not a result file (.frd): its first line is not a record 1C");
    }
    if (unlessCut([&] { readUpToResult(); })) {
        firstResult_ = lastHead_;
        firstParameters_ = parameters_;
    }
}

bool ResultFile::nextResult(ResultHeader& header) {
    return unlessCut([&] {
               if (position_ == Position::AfterBlock) {
                   readUpToResult();
               }
               if (position_ == Position::AtResult) {
                   readResultHeader(header);
               }
           }) &&
           position_ == Position::AtResult;
}

bool ResultFile::readValues(const ResultHeader& header, std::vector<float>& values) {
    return unlessCut([&] {
        ValueTable table(nodes(), header.components.size(), values);
        if (resultHead_.format.isBinary) {
            readBinaryValues(table);
        } else {
            readTextValues(table);
        }
        position_ = Position::AfterBlock;
        if (table.leftOut() != 0) {
            valuesLeftOut_[header.name] += table.leftOut();
        }
    });
}

bool ResultFile::skipValues(const ResultHeader& header) {
    return unlessCut([&] {
        if (resultHead_.format.isBinary) {
            const std::size_t size = binaryRecordSize(header.components.size());
            BinaryBlock block(input_, resultHead_);
            while (!block.isAtEnd()) {
                block.take(size);
            }
        } else {
            do {
                line_ = input_.require(valueRecords);
            } while (line_.startsWith(" -1") || line_.startsWith(" -2"));
            if (!line_.startsWith(" -3")) {
                line_.failExpecting(valueRecords);
            }
        }
        position_ = Position::AfterBlock;
    });
}

void ResultFile::rewind() {
    if (!firstResult_) {
        return;
    }
    input_.returnTo(*firstResult_);
    parameters_ = firstParameters_;
    position_ = Position::AfterBlock;
}

/// Calls a function, unless the end of the file is reached, and notes how the file ends.
/// @return false if the end of the file cuts what the function reads
template <class Read>
bool ResultFile::unlessCut(Read read) {
    try {
        read();
        return true;
    } catch (const EndOfFile& end) {
        position_ = Position::AtEnd;
        ending_ = end.isInsideRecord() ? Ending::InsideRecord : Ending::BetweenRecords;
        return false;
    }
}

/// Reads from the current position to the header of a result block, or to the end of the file.
void ResultFile::readUpToResult() {
    do {
        lastHead_ = input_.mark();
        line_ = input_.require(headRecords, endKey);
    } while (readRecord());
    if (position_ == Position::AtEnd) {
        expectEndOfFile();
        ending_ = Ending::Finished;
    }
}

/// Reads the record of the current line, and its block if it starts one.
/// @return false if it is the header of a result block or the end
bool ResultFile::readRecord() {
    if (line_.startsWith("  100C")) {
        position_ = Position::AtResult;
        return false;
    }
    if (line_.startsWith(endKey)) {
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
        line_.failExpecting(headRecords);
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
    resultHead_ = blockHeadOf(line_, ResultColumns::format, binaryResults);
    header.value = line_.doubleOrZero(ResultColumns::value, "a time, frequency or factor");
    header.analysisType = line_.integerOrZero(ResultColumns::analysisType, "an analysis type");
    header.number = line_.integerOrZero(ResultColumns::number, "a step number");
    header.text = line_.name(ResultColumns::text);
    header.analysisText = line_.name(ResultColumns::analysisText);
    header.parameters = std::exchange(parameters_, {});

    line_ = requireRecord(input_, " -4", "a record -4 with the name of the result");
    header.name = line_.name(ComponentColumns::name);
    if (header.name.empty()) {
        line_.failExpecting("the name of the result", ComponentColumns::name);
    }
    if (line_.integer(ComponentColumns::location, "1 for values at nodes") != locatedAtNodes) {
        line_.failExpecting("1 for values at nodes", ComponentColumns::location);
    }
    readComponents(header.components,
                   line_.integer(ComponentColumns::count, "a number of components"));
    resultHead_.line = line_.number();
}

void ResultFile::readComponents(std::vector<Component>& components, std::int64_t count) {
    if (count < 0) {
        line_.failExpecting("a number of components", ComponentColumns::count);
    }
    components.clear();
    for (std::int64_t i = 0; i < count; ++i) {
        line_ = requireRecord(input_, " -5", "a record -5 with a component");
        const std::int64_t kind = line_.integer(ComponentColumns::kind, "a kind of component");
        const std::int64_t existence =
            line_.integerOrZero(ComponentColumns::existence, "0, 1 or 2 for existence");
        if (existence != derivedExistence) {
            components.push_back({line_.name(ComponentColumns::name), kind});
        }
    }
}

void ResultFile::readTextValues(ValueTable& table) {
    const Columns idColumns = resultHead_.format.idColumns();
    while (nextInBlock(input_, line_, valueRecords)) {
        float* const row = table.rowOf(line_.id(idColumns, nodeNumber));
        if (row == nullptr) {
            line_.failExpecting(eachNodeOnce, idColumns);
        }
        readNodeValues(table.width(), row);
    }
}

void ResultFile::readBinaryValues(ValueTable& table) {
    const std::size_t size = binaryRecordSize(table.width());
    BinaryBlock block(input_, resultHead_);
    while (!block.isAtEnd()) {
        const std::string_view record = block.take(size);
        const std::uint32_t id = block.id(record, 0, nodeNumber);
        float* const row = table.rowOf(id);
        if (row == nullptr) {
            block.failExpecting(eachNodeOnce, id);
        }
        for (std::size_t i = 0; i < table.width(); ++i) {
            row[i] = float32At(record, binaryRecordSize(i));
        }
    }
}

/// Reads the values of one node from the current line and its continuation lines.
void ResultFile::readNodeValues(std::size_t count, float* values) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t column = i % valuesPerLine;
        if (i != 0 && column == 0) {
            line_ = requireRecord(input_, " -2", "a record -2 with further values");
        }
        const Columns columns = resultHead_.format.valueColumns(column);
        values[i] = line_.value(columns, "a value");
        if (column == valuesPerLine - 1 || i == count - 1) {
            line_.expectEnd(columns.end());
        }
    }
}

void ResultFile::expectEndOfFile() {
    while (input_.next(line_)) {
        if (!line_.content().empty()) {
            line_.failExpecting("nothing after the record 9999");
        }
    }
}

} // namespace Frd
