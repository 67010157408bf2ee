/// What the system itself refuses: room and names.
#include "fault/writecycles.hpp"
#include "mekreader/error.hpp"
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

using RealFaultTest = FolderTest;

const SaverOptions options{true};

/// @return operation and message in which the application heard of it; nothing if there was room
std::string writeIn(const fs::path& directory) {
    WriteCycles cycles(directory.string(), Reaction::Close);
    cycles.run(true);
    const std::string file = cycles.cycles[0].path;
    if (cycles.heard.empty()) {
        EXPECT_NO_THROW(MekReader::check(file));
        return "";
    }
    EXPECT_TRUE(cycles.heard[0].failure == "7 Unable to write to file" ||
                cycles.heard[0].failure == "7 Saving the buffer failed");
    EXPECT_FALSE(cycles.cycles[0].isClosed);
    EXPECT_THROW(MekReader::check(file), MekReader::Unfinished);
    return cycles.heard[0].operation + ": " + cycles.heard[0].failure;
}

/// The room of an index block stays a hole until the end, so that the device can be full for the
/// tables alone, and for what the last flush hands over.
TEST_F(RealFaultTest, AFullDeviceIsHeardOf) {
    Model model;
    model.saveTo("/dev/full", options);
    EXPECT_EQ(messageOf<Tyr::Exception::FileWriteException>([&] { model.close(); }),
              "Saving the buffer failed");
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
    EXPECT_EQ(counts.count("close: 7 Unable to write to file"), 1U);
}

TEST_F(RealFaultTest, WhatCannotBeOpenedIsNamed) {
    std::ofstream(path("file")) << "content";
    fs::permissions(path("file"), fs::perms::owner_read);
    fs::create_directory(path("closed"));
    fs::permissions(path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    const uid_t user = geteuid();
    constexpr uid_t nobody = 65534;
    if (user == 0 && seteuid(nobody) != 0) {
        GTEST_SKIP() << "everything is allowed";
    }
    for (const std::string& to :
         {folder.string(), path("none/file"), path("file/file"), path("file"), path("closed/file"),
          path(std::string(300, 'n')), path(std::string(5000, '/') + "n")}) {
        Model model;
        EXPECT_EQ(
            messageOf<Tyr::Exception::MiscelleneousException>([&] { model.saveTo(to, options); }),
            "Unable to open file \"" + to + '"');
    }
    EXPECT_EQ(seteuid(user), 0);
    EXPECT_EQ(readFile(path("file")), "content");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2);
}

TEST_F(RealFaultTest, ALinkToNothingMakesItsTarget) {
    fs::create_symlink(path("target"), path("link"));
    Model model;
    model.saveTo(path("link")); // names no file that stands there
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("target")));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(messageOf<Tyr::Exception::FileOpenException>([&] { model.saveTo(path("link")); }),
              "File exists.");
}

} // namespace
