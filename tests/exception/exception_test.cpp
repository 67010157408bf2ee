#include "tyr/exception/raise.hpp"

#include <boost/exception/get_error_info.hpp>

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace Tyr::Exception;

template <class Error>
void expectNumberAndMessage(int code, const char* message) {
    const Error error;
    EXPECT_EQ(error.code(), code);
    EXPECT_STREQ(error.what(), message);
    EXPECT_STREQ(error.message(), message);
}

TEST(Exception, EveryClassHasItsNumberAndMessage) {
    expectNumberAndMessage<Exception>(1, "Unknown Exception");
    expectNumberAndMessage<MiscelleneousException>(2, "Miscelleneous exception");
    expectNumberAndMessage<InvalidArguments>(3, "Invalid arguments");
    expectNumberAndMessage<FileOpenException>(5, "File open exception");
    expectNumberAndMessage<FileWriteException>(7, "File write exception");
    expectNumberAndMessage<OutOfBounds>(11, "Out of bounds error");
    expectNumberAndMessage<OverflowError>(12, "Overflow error");
    expectNumberAndMessage<UnderflowError>(13, "Underflow error");
    expectNumberAndMessage<KeyNotFound>(14, "Key not found");
    expectNumberAndMessage<MemoryAllocationException>(16, "Memory allocation error");
    expectNumberAndMessage<InvalidObjectState>(17, "Invalid object state");
    expectNumberAndMessage<TemplateSpecializationNotDefined>(19,
                                                             "Template specialization not defined");
    expectNumberAndMessage<NotYetImplemented>(20, "Not yet implemented");
    EXPECT_STREQ(InvalidArguments("invalid array size").what(), "invalid array size");
    EXPECT_STREQ(OutOfBounds("").message(), "Out of bounds error");
    EXPECT_EQ(Base().message(), nullptr);
    EXPECT_EQ(Base().code(), 1);
}

constexpr int raisingLine = __LINE__ + 1;
void raiseKeyNotFound(int) { TYR_RAISE(KeyNotFound()); }

TEST(Exception, CarriesItsLocationThroughEveryHandler) {
    try {
        raiseKeyNotFound(1);
        FAIL();
    } catch (const Base& error) {
        EXPECT_EQ(error.code(), 14);
        EXPECT_NE(dynamic_cast<const boost::exception_detail::clone_impl<KeyNotFound>*>(&error),
                  nullptr);
        const auto& located = dynamic_cast<const boost::exception&>(error);
        EXPECT_NE(std::string(*boost::get_error_info<boost::throw_function>(located))
                      .find("raiseKeyNotFound(int)"),
                  std::string::npos);
        EXPECT_STREQ(*boost::get_error_info<boost::throw_file>(located),
                     "tests/exception/exception_test.cpp");
        EXPECT_EQ(*boost::get_error_info<boost::throw_line>(located), raisingLine);
    }
}

TEST(Exception, SourcePathsStartAtTheLibrary) {
    EXPECT_STREQ(relativeSourcePath("/home/me/tyr/lib/src/tyr/qbf/index.cpp"), "tyr/qbf/index.cpp");
    EXPECT_STREQ(relativeSourcePath("C:\\lib\\src\\tyr\\log\\log.cpp"), "tyr\\log\\log.cpp");
    EXPECT_STREQ(relativeSourcePath("satyr/index.cpp"), "satyr/index.cpp");
}

} // namespace
