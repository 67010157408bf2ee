#include "console/outputfile.hpp"

#include "console/error.hpp"
#include "support/testing.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using std::filesystem::perms;

class OutputFileTest : public Testing::FolderTest {
protected:
    std::ptrdiff_t countFiles() const {
        return std::distance(std::filesystem::directory_iterator(folder),
                             std::filesystem::directory_iterator());
    }

    const std::filesystem::path target = folder / "out.mek";
};

TEST_F(OutputFileTest, GivesEachWriterItsOwnFile) {
    Console::OutputFile first(target, false);
    Console::OutputFile second(target, false);
    std::ofstream(first.unfinishedPath()) << "first";
    std::ofstream(second.unfinishedPath()) << "second";

    first.finish();

    EXPECT_EQ(Testing::messageOf<Console::FileError>([&] { second.finish(); }),
              target.u8string() + ": exists; use --overwrite to replace it");
    EXPECT_EQ(Testing::readFile(target), "first");
    {
        Console::OutputFile third(target, true);
        std::ofstream(third.unfinishedPath()) << "third";
        EXPECT_EQ(countFiles(), 3);
    }
    EXPECT_EQ(Testing::readFile(target), "first");
    EXPECT_EQ(countFiles(), 2); // the second is still unfinished
}

#if !defined(_WIN32)

TEST_F(OutputFileTest, KeepsPermissionsOfWhatItReplaces) {
    const perms unusual = perms::owner_read | perms::owner_exec | perms::group_read;
    std::ofstream(target) << "earlier";
    std::filesystem::permissions(target, unusual);
    std::filesystem::create_symlink("out.mek", folder / "link");

    Console::OutputFile output(folder / "link", true);
    const perms unfinished = std::filesystem::status(output.unfinishedPath()).permissions();
    std::ofstream(output.unfinishedPath()) << "later";
    output.finish();

    EXPECT_EQ(unfinished, perms::owner_read | perms::owner_write);
    EXPECT_EQ(std::filesystem::status(target).permissions(), unusual);
    EXPECT_EQ(Testing::readFile(target), "later");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link"));
}

TEST_F(OutputFileTest, IsRemovedBySignals) {
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        EXPECT_EXIT(
            {
                Console::removeUnfinishedFilesOnSignals();
                const Console::OutputFile output(target, true);
                const Console::OutputFile other(folder / "other", true);
                std::raise(number);
            },
            ::testing::KilledBySignal(number), "^$");
        EXPECT_EQ(countFiles(), 0) << number;
    }
    EXPECT_EXIT(
        {
            std::signal(SIGHUP, SIG_IGN); // as nohup does
            Console::removeUnfinishedFilesOnSignals();
            std::raise(SIGHUP);
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

#endif

} // namespace
