#include "tyr/log/logsystem.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace Tyr::Log;

TEST(Log, SystemPrintsStreamsAndDiscardsRecords) {
    Record<char> record("tyr/file.cpp", "Tyr::function", 7);
    record << "line " << 12345;
    std::ostringstream stream;
    stream << "text";

    testing::internal::CaptureStdout();
    logSystem() += record;
    logSystem() += static_cast<const std::basic_ostream<char>&>(record);
    logSystem() += stream;
    logSystem() += std::ostringstream();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "line 12345\ntext\n\n");
}

} // namespace
