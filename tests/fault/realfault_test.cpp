/// What the system itself refuses: room, names, permissions.
#include "fault/writecycles.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>

namespace {

using namespace Testing;
namespace fs = std::filesystem;

constexpr int fileWriteCode = 7;

/// Write cycles where there is not enough room for the files.
class NoRoomTest : public FolderTest {
protected:
    /// @return operation and message in which the application heard of it; nothing if there was room
    std::string writeIn(const fs::path& directory, unsigned int results) {
        WriteCycles cycles(directory.string(), Reaction::Close, results);
        cycles.cycles.pop_back();
        cycles.run();
        for (const Heard& heard : cycles.heard) {
            EXPECT_EQ(heard.code, fileWriteCode);
            EXPECT_TRUE(heard.message == "Unable to write to file" ||
                        heard.message == "Saving the buffer failed");
        }
        const std::string file = cycles.cycles[0].path;
        if (cycles.cycles[0].isClosed) {
            EXPECT_TRUE(cycles.heard.empty());
            EXPECT_NO_THROW(MekReader::check(file));
        } else {
            EXPECT_THROW(MekReader::check(file), MekReader::Unfinished);
        }
        return cycles.heard.empty() ? "" : cycles.heard[0].operation + ": " + cycles.heard[0].message;
    }

    void print(const std::map<std::string, int>& counts) {
        for (const auto& [operation, count] : counts) {
            std::cout << count << " times " << (operation.empty() ? "enough room" : operation) << '\n';
        }
    }
};

/// The most bytes that a file may have.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
        handler_ = signal(SIGXFSZ, SIG_IGN);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int) = nullptr;
};

/// Of a small file every limit, of one with an index block some.
TEST_F(NoRoomTest, EveryLimitOfTheFileSizeIsHeardOf) {
    for (const bool isSmall : {true, false}) {
        const BlockSizeVariable ofBlocks(isSmall ? nullptr : "200");
        const unsigned int results = isSmall ? 1 : 22;
        ASSERT_EQ(writeIn(folder, results), "");
        const auto size = fs::file_size(path("first"));
        std::map<std::string, int> counts;
        for (std::uintmax_t limit = 0; limit <= size; limit += isSmall || limit + 32 > size ? 1 : 31) {
            const FileSizeLimit limited(limit);
            const std::string failure = writeIn(folder, results);
            EXPECT_EQ(failure.empty(), limit == size) << limit;
            ++counts[failure];
        }
        print(counts);
    }
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
        ++counts[writeIn(folder, 22)];
        umount(folder.c_str());
    }
    print(counts);
    EXPECT_EQ(counts.count("close: Unable to write to file"), 1U);
}

/// Root may do everything, so it becomes nobody for a while.
class WithoutPrivileges {
public:
    WithoutPrivileges() : before_(geteuid()) {
        constexpr uid_t nobody = 65534;
        isRestricted_ = before_ != 0 || seteuid(nobody) == 0;
    }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
    ~WithoutPrivileges() {
        if (before_ != geteuid() && seteuid(before_) != 0) {
            std::abort();
        }
    }

    bool isRestricted() const { return isRestricted_; }

private:
    uid_t before_;
    bool isRestricted_;
};

class PathTest : public FolderTest {
protected:
    PathTest() {
        fs::create_directory(path("directory"));
        std::ofstream(path("readonly")) << "content";
        fs::permissions(path("readonly"), fs::perms::owner_read);
        fs::create_symlink(path("target"), path("link"));
        fs::create_directory(path("closed"));
        fs::permissions(path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    }

    std::string failureOfSaving(const std::string& to) {
        Tyr::Mek2::SaverOptions options;
        options.overwrite = true;
        Tyr::Mek2::Model model;
        const std::string failure = failureOf<Tyr::Exception::MiscelleneousException>(
            [&] { model.saveTo(to, options); });
        model.close();
        return failure;
    }
};

TEST_F(PathTest, WhatCannotBeOpenedIsNamed) {
    const auto unable = [](const std::string& to) { return "Unable to open file \"" + to + '"'; };
    for (const std::string& to :
         {path("directory"), path("none/file"), path("readonly/file"), path(std::string(300, 'n')),
          path(std::string(5000, '/') + "n")}) {
        EXPECT_EQ(failureOfSaving(to), unable(to));
    }
    {
        const WithoutPrivileges nobody;
        if (!nobody.isRestricted()) {
            GTEST_SKIP() << "everything is allowed";
        }
        for (const std::string& to : {path("readonly"), path("closed/new")}) {
            EXPECT_EQ(failureOfSaving(to), unable(to));
        }
    }
    EXPECT_EQ(readFile(path("readonly")), "content");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 4);
}

TEST_F(PathTest, ALinkToNothingMakesItsTarget) {
    Tyr::Mek2::Model model;
    model.saveTo(path("link")); // names no file that stands there
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("target")));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(failureOf<Tyr::Exception::FileOpenException>([&] { model.saveTo(path("link")); }),
              "File exists.");
}

} // namespace
