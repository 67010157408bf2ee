#include "tyr/platform/platform.hpp"

#include "support/testing.hpp"

#if defined(_WIN32)
#include <windows.h>
#endif

#include <cstdint>
#include <cstdio>
#include <regex>
#include <string>

namespace {

using namespace Tyr::Platform;
using PlatformTest = Testing::FolderTest;

constexpr std::uint64_t fourGibibytes = std::uint64_t{1} << 32;

TEST_F(PlatformTest, SeeksBeyondFourGibibytes) {
    std::FILE* const stream = openFile(path("far"), "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_FALSE(seekTo(stream, std::uint64_t{1} << 63));
    EXPECT_TRUE(seekTo(stream, fourGibibytes + 7));
    std::fputc('\n', stream); // one byte in a binary stream
    std::fclose(stream);

    EXPECT_EQ(std::filesystem::file_size(path("far")), fourGibibytes + 8);
}

TEST_F(PlatformTest, NarrowPathsAreInTheCodePageOfTheSystem) {
    const std::wstring wide = L"caf\x00E9 \x20AC";
    const std::string narrow = narrowString(wide);
#if defined(_WIN32)
    if (GetACP() != 1252) {
        GTEST_SKIP() << "expects the code page 1252, but the system has " << GetACP();
    }
    EXPECT_EQ(Testing::hex(narrow), "63 61 66 E9 20 80");
    EXPECT_EQ(narrowString(L"a\x65E5z"), "a?z");
#else
    EXPECT_EQ(Testing::hex(narrow), "63 61 66 C3 A9 20 E2 82 AC");
    EXPECT_EQ(narrowString(L"a\xD800z"), "a?z");
#endif
    const std::string narrowPath = folder.string() + "/" + narrow;
    const std::wstring widePath = folder.wstring() + L"/" + wide;
    EXPECT_FALSE(pathExists(narrowPath));
    std::fclose(openFile(narrowPath, "wb"));
    EXPECT_TRUE(pathExists(narrowPath));
    EXPECT_TRUE(pathExists(widePath));
    EXPECT_TRUE(
        std::filesystem::exists(folder / std::filesystem::u8path("caf\xC3\xA9 \xE2\x82\xAC")));
}

TEST(Platform, KnowsDateComputerAndUser) {
    const std::regex form("[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} [0-9:]{8} 20[0-9]{2} .+");
    EXPECT_TRUE(std::regex_match(localDate(), form)) << localDate();
    EXPECT_NE(computerName(), "");
    EXPECT_NE(userName(), "");
}

} // namespace
