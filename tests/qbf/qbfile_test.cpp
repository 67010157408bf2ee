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
    EXPECT_EQ(failureOf<Tyr::Exception::FileOpenException>(
                  [&] { file.OpenFileForWriting(path("old"), false); }),
              "File exists.");
    file.CloseFile();
    file.CloseFile();
    EXPECT_EQ(file.stream, nullptr);
}

TEST_F(QbFileTest, SaysWhichPathCannotBeOpened) {
    const std::string missing = path("missing/file");
    const std::wstring wideMissing = L"/\x0416issing/\x00E9";
    QbFile file;
    EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>(
                  [&] { file.OpenFileForWriting(missing, true); }),
              "Unable to open file \"" + missing + "\"");
    EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>(
                  [&] { file.OpenFileForWriting(wideMissing, false); }),
              "Unable to open file \"/\x16issing/\xE9\"");
    EXPECT_THROW(file.OpenFileForWriting(path("cut") + '\0' + "off", true),
                 Tyr::Exception::MiscelleneousException);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(QbFileTest, WidePathsAreUtf8FileNames) {
    const std::wstring wideFolder = folder.wstring() + L"/";
    QbFile file;
    file.OpenFileForWriting(wideFolder + L"\x00E9\x20AC\U0001F600z", false);
    file.CloseFile();
    EXPECT_TRUE(std::filesystem::exists(path("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z")));
    EXPECT_THROW(file.OpenFileForWriting(wideFolder + L"\x00E9\x20AC\U0001F600z", false),
                 Tyr::Exception::FileOpenException);

    for (const wchar_t unit : {wchar_t(0xD800), wchar_t(0xDC00), wchar_t(0x110000)}) {
        EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>(
                      [&] { file.OpenFileForWriting(std::wstring(L"a") + unit, true); }),
                  std::string("Unable to open file \"a"));
    }
}

} // namespace
