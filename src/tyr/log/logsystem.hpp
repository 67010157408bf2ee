/// @file
/// The log system of the process, and the macros that log a line.
#pragma once

#include <tyr/log/log.hpp>

#include "tyr/exception/raise.hpp"

#include <cstdint>
#include <string>

namespace Tyr::Log {

/// The log system that receives all lines of the library. Created at the first call.
LogSystem& logSystem();

/// Reuses one record for lines that are logged with every dataset: constructing a stream costs far
/// more than composing such a line. One thread at a time may use an object.
class LineComposer {
public:
    /// The record of a new line. It is empty.
    Record<char>& begin(const char* file, const char* function, std::uint32_t line) {
        record_.str(std::string());
        record_.clear();
        record_.origin = Origin(file, function, line);
        return record_;
    }

private:
    Record<char> record_{"", "", 0};
};

} // namespace Tyr::Log

/// Logs one line. `pieces` are the operands after the first `<<`; `function` is the qualified name
/// of the logging function without its signature.
#define TYR_LOG(function, pieces)                                                         \
    do {                                                                                  \
        ::Tyr::Log::Record<char> tyrLogRecord(TYR_SOURCE_FILE, (function), __LINE__);     \
        tyrLogRecord << pieces; /* NOLINT(bugprone-macro-parentheses): several of them */ \
        ::Tyr::Log::logSystem() += tyrLogRecord;                                          \
    } while (false)

/// The same in the record of a `LineComposer`.
#define TYR_LOG_WITH(composer, function, pieces)                                          \
    do {                                                                                  \
        auto& tyrLogRecord = (composer).begin(TYR_SOURCE_FILE, (function), __LINE__);     \
        tyrLogRecord << pieces; /* NOLINT(bugprone-macro-parentheses): several of them */ \
        ::Tyr::Log::logSystem() += tyrLogRecord;                                          \
    } while (false)
