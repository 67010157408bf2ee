#include "tyr/log/logsystem.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using namespace Tyr::Log;

/// What goes to standard output while `action` runs.
template <class Action>
std::string printed(const Action& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

TEST(Log, SystemPrintsStreamsAndDropsRecords) {
    Record<char> record("tyr/file.cpp", "Tyr::function", 7);
    record << "line " << 12345;
    std::ostringstream text;
    text << "text";

    EXPECT_EQ(printed([&] { logSystem() += record; }), "");
    const std::basic_ostream<char>& stream = record;
    EXPECT_EQ(printed([&] { logSystem() += stream; }), "line 12345\n");
    EXPECT_EQ(printed([&] { logSystem() += text; }), "text\n");
    EXPECT_EQ(printed([&] { logSystem() += std::ostringstream(); }), "\n");
}

TEST(Log, RecordRemembersItsOrigin) {
    const std::time_t before = std::time(nullptr);
    Record<char> record("tyr/file.cpp", "Tyr::function", 7);

    EXPECT_STREQ(record.origin.file, "tyr/file.cpp");
    EXPECT_STREQ(record.origin.function, "Tyr::function");
    EXPECT_EQ(record.origin.line, 7U);
    EXPECT_EQ(record.severity, 1);
    EXPECT_GE(record.origin.time, before);
    EXPECT_LE(record.origin.time, std::time(nullptr));
}

TEST(Log, LoggerBaseReturnsItself) {
    LoggerBase logger;

    EXPECT_EQ(&logger.logRecord("file", "function", 1, Severity::Information), &logger);
    EXPECT_EQ(printed([&] { logger += std::ostringstream("text"); }), "");
}

} // namespace
