#include "frd/record.hpp"

namespace Frd {

Format formatOf(const Line& header, Columns code) {
    switch (header.integerOrZero(code, "a format code")) {
        case 0:
            return {5, 15};
        case 1:
            return {10, 10};
        default:
            header.failExpecting(
                "format code 0 or 1 (text; a binary file has 2 or 3, and results written with "
                "*NODE FILE and *EL FILE are text)",
                code);
    }
}

Line requireRecord(LineReader& lines, const char* key, const char* what) {
    const Line line = lines.require(what);
    if (!line.startsWith(key)) {
        line.failExpecting(what);
    }
    return line;
}

bool nextInBlock(LineReader& lines, Line& line, const char* what) {
    line = lines.require(what);
    if (!line.startsWith(" -1") && !line.startsWith(" -3")) {
        line.failExpecting(what);
    }
    return line.startsWith(" -1");
}

std::uint32_t definedNode(const Line& line, Columns columns, const NodeTable& nodes,
                          std::size_t guess) {
    const auto row = nodes.rowOf(line.id(columns, "a node number"), guess);
    if (!row) {
        line.failExpecting("a node of the node block", columns);
    }
    return *row;
}

} // namespace Frd
