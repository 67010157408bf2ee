#include "tyr/exception/raise.hpp"

#include <boost/exception/get_error_info.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace Tyr::Exception;

struct Case {
    std::unique_ptr<Exception> failure;
    int code;
    std::string text;
};

TEST(Exception, EveryClassHasItsNumberAndText) {
    Case cases[] = {
        {std::make_unique<Exception>(), 1, "Unknown Exception"},
        {std::make_unique<MiscelleneousException>(), 2, "Miscelleneous exception"},
        {std::make_unique<InvalidArguments>(), 3, "Invalid arguments"},
        {std::make_unique<FileOpenException>(), 5, "File open exception"},
        {std::make_unique<FileWriteException>(), 7, "File write exception"},
        {std::make_unique<OutOfBounds>(), 11, "Out of bounds error"},
        {std::make_unique<OverflowError>(), 12, "Overflow error"},
        {std::make_unique<UnderflowError>(), 13, "Underflow error"},
        {std::make_unique<KeyNotFound>(), 14, "Key not found"},
        {std::make_unique<MemoryAllocationException>(), 16, "Memory allocation error"},
        {std::make_unique<InvalidObjectState>(), 17, "Invalid object state"},
        {std::make_unique<TemplateSpecializationNotDefined>(), 19,
         "Template specialization not defined"},
        {std::make_unique<NotYetImplemented>(), 20, "Not yet implemented"},
    };

    for (const Case& one : cases) {
        EXPECT_EQ(one.failure->code(), one.code);
        EXPECT_EQ(one.failure->what(), one.text);
        EXPECT_EQ(one.failure->message(), one.text);
    }
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
    } catch (const Base& failure) {
        EXPECT_EQ(failure.code(), 14);
        EXPECT_NE(dynamic_cast<const boost::exception_detail::clone_impl<KeyNotFound>*>(&failure),
                  nullptr);
        const auto& located = dynamic_cast<const boost::exception&>(failure);
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
