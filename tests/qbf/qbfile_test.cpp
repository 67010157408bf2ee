#include "tyr/qbf/qbfile.hpp"

#include "support/testing.hpp"

#include <fstream>
#include <string>

namespace {

using Testing::failureOf;
using TyrQbf::QbFile;
using QbFileTest = Testing::FolderTest;

TEST_F(QbFileTest, OpensOnlyWhatItMay) {
    std::ofstream(path("old")) << "content";
    QbFile file;
    EXPECT_EQ(failureOf<Tyr::Exception::FileOpenException>(
                  [&] { file.OpenFileForWriting(path("old"), false); }),
              "File exists.");
    EXPECT_EQ(Testing::readFile(path("old")), "content");
    EXPECT_EQ(file.stream, nullptr);

    file.OpenFileForWriting(path("old"), true);
    EXPECT_EQ(Testing::readFile(path("old")), "");
    EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>(
                  [&] { file.OpenFileForWriting(path("old"), true); }),
              "File stream is already in use");
}

TEST_F(QbFileTest, SaysWhichPathCannotBeOpened) {
    const std::wstring wideMissing = L"/\x0416issing/\x00E9";
    QbFile file;
    EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>(
                  [&] { file.OpenFileForWriting(wideMissing, false); }),
              "Unable to open file \"/\x16issing/\xE9\"");
    EXPECT_THROW(file.OpenFileForWriting(path("cut") + '\0' + "off", true),
                 Tyr::Exception::MiscelleneousException);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(QbFileTest, WidePathsReachBeyondTheCodePage) {
    QbFile file; // Greek, Japanese and an emoji
    file.OpenFileForWriting(folder.wstring() + L"/\x03C2\x65E5\U0001F4D0z", false);
    EXPECT_TRUE(std::filesystem::exists(
        folder / std::filesystem::u8path("\xCF\x82\xE6\x97\xA5\xF0\x9F\x93\x90z")));
    file.CloseFile();
}

#if !defined(_WIN32)
TEST_F(QbFileTest, WidePathsThatAreNotUnicodeNameNoFile) {
    QbFile file;
    for (const wchar_t unit : {wchar_t(0xD800), wchar_t(0xDC00), wchar_t(0x110000)}) {
        EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>(
                      [&] { file.OpenFileForWriting(std::wstring(L"a") + unit, true); }),
                  std::string("Unable to open file \"a"));
    }
}
#endif

} // namespace
