/// @file
/// The process-wide log system and the macro that logs a line.
#pragma once

#include <tyr/log/log.hpp>

#include "tyr/exception/raise.hpp"

namespace Tyr::Log {

/// The object that receives all log lines of the library. Created at the first use.
LogSystem& logSystem();

} // namespace Tyr::Log

/// Logs one line. `pieces` is all that follows the first `<<`; `function` is the qualified name of
/// the logging function without its signature.
#define TYR_LOG(function, pieces)                                                         \
    do {                                                                                  \
        ::Tyr::Log::Record<char> tyrLogRecord(TYR_SOURCE_FILE, (function), __LINE__);     \
        tyrLogRecord << pieces; /* NOLINT(bugprone-macro-parentheses): several of them */ \
        ::Tyr::Log::logSystem() += tyrLogRecord;                                          \
    } while (false)
