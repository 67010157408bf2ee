/// What the system itself refuses: room and names.
#include "fault/writecycles.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace {

using namespace Testing;
namespace fs = std::filesystem;

using NoRoomTest = FolderTest;

constexpr int fileWriteCode = 7;

/// @return operation and message in which the application heard of it; nothing if there was room
std::string writeIn(const fs::path& directory) {
    WriteCycles cycles(directory.string(), Reaction::Close);
    cycles.cycles.pop_back();
    cycles.run();
    const std::string file = cycles.cycles[0].path;
    if (cycles.heard.empty()) {
        EXPECT_NO_THROW(MekReader::check(file));
        return "";
    }
    EXPECT_EQ(cycles.heard[0].code, fileWriteCode);
    EXPECT_FALSE(cycles.cycles[0].isClosed);
    EXPECT_THROW(MekReader::check(file), MekReader::Unfinished);
    return cycles.heard[0].operation + ": " + cycles.heard[0].message;
}

/// The room of an index block stays a hole until the end, so that the device can be full for the
/// tables alone, and for what the last flush hands over.
TEST_F(NoRoomTest, AFullDeviceIsHeardOf) {
    // a user namespace of its own gives the right to mount
    if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        GTEST_SKIP() << "no namespace for a mount";
    }
    mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    const BlockSizeVariable blockSize("200");
    std::map<std::string, int> counts;
    const auto pageSize = sysconf(_SC_PAGESIZE);
    for (int pages = 1; counts[""] == 0; ++pages) {
        const std::string size = "size=" + std::to_string(pages * pageSize);
        if (mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) != 0) {
            GTEST_SKIP() << "no right to mount";
        }
        ++counts[writeIn(folder)];
        umount(folder.c_str());
    }
    EXPECT_EQ(counts.count("close: Unable to write to file"), 1U);
}

using PathTest = FolderTest;

TEST_F(PathTest, WhatCannotBeOpenedIsNamed) {
    std::ofstream(path("file"));
    Tyr::Mek2::SaverOptions options;
    options.overwrite = true;
    for (const std::string& to :
         {folder.string(), path("none/file"), path("file/file"), path(std::string(300, 'n')),
          path(std::string(5000, '/') + "n")}) {
        Tyr::Mek2::Model model;
        EXPECT_EQ(
            failureOf<Tyr::Exception::MiscelleneousException>([&] { model.saveTo(to, options); }),
            "Unable to open file \"" + to + '"');
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(PathTest, ALinkToNothingMakesItsTarget) {
    fs::create_symlink(path("target"), path("link"));
    Tyr::Mek2::Model model;
    model.saveTo(path("link")); // names no file that stands there
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("target")));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(failureOf<Tyr::Exception::FileOpenException>([&] { model.saveTo(path("link")); }),
              "File exists.");
}

} // namespace
