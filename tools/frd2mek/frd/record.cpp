#include "frd/record.hpp"

#include "frd/number.hpp"

#include <string>

namespace Frd {

namespace {

constexpr Columns countColumns{24, 12};

Format formatOf(const Line& header, Columns columns, std::int64_t binaryCode) {
    const std::int64_t code = header.integerOrZero(columns, "a format code");
    if (code == 0) {
        return {false, 5, 15};
    }
    if (code == 1) {
        return {false, 10, 10};
    }
    if (code != binaryCode) {
        header.failExpecting("format code 0, 1 or " + std::to_string(binaryCode), columns);
    }
    return {true, 0, 0};
}

} // namespace

BlockHead blockHeadOf(const Line& header, Columns code, std::int64_t binaryCode) {
    return {header.number(), parseInteger(header.field(countColumns)).value_or(-1),
            formatOf(header, code, binaryCode)};
}

Line requireRecord(InputReader& input, const char* key, const char* what) {
    const Line line = input.require(what);
    if (!line.startsWith(key)) {
        line.failExpecting(what);
    }
    return line;
}

bool nextInBlock(InputReader& input, Line& line, const char* what) {
    line = input.require(what);
    if (!line.startsWith(" -1") && !line.startsWith(" -3")) {
        line.failExpecting(what);
    }
    return line.startsWith(" -1");
}

} // namespace Frd
