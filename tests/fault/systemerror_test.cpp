/// Errors of the system itself: a full device, and paths that cannot be opened.
#include "fault/checkpointedrun.hpp"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace {

using namespace Testing;
namespace fs = std::filesystem;

const SaverOptions options{true};

class SystemErrorTest : public WrittenFileTest {
protected:
    /// @return operation and message of the first error; an empty string if the file is written
    std::string errorOfWrite() {
        WriteCycles cycles(folder.string(), Reaction::Close);
        cycles.run(1);
        const bool isWritten = cycles.errors.empty();
        EXPECT_EQ(checkError().substr(0, 19), isWritten ? "no error" : "file is unfinished:");
        EXPECT_EQ(cycles.cycles[0].isClosed, isWritten);
        if (isWritten) {
            return "";
        }
        const auto& [operation, message] = cycles.errors[0];
        return (operation == "close" ? "close: " : "array: ") + message;
    }
};

class FullDeviceTest : public SystemErrorTest {
protected:
    /// Only root may mount, except in a user namespace.
    void SetUp() override {
        const bool isApart = unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
        if (!isApart || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            !mountPages(1)) {
            GTEST_SKIP() << "no right to mount";
        }
        umount(folder.c_str());
    }

    bool mountPages(long pages) const {
        const std::string size = "size=" + std::to_string(pages * sysconf(_SC_PAGESIZE));
        return mount("tmpfs", folder.c_str(), "tmpfs", 0, size.c_str()) == 0;
    }
};

/// An index block is not written before the end, so that a device can be full only for the tables
/// and the last flush.
TEST_F(FullDeviceTest, AFileThatDoesNotFitIsReportedAndUnfinished) {
    const BlockSizeVariable blockSize("200");
    std::set<std::string> errors;
    for (int pages = 1; errors.count("") == 0; ++pages) {
        ASSERT_TRUE(mountPages(pages));
        errors.insert(errorOfWrite());
        umount(folder.c_str());
    }
    EXPECT_EQ(errors, (std::set<std::string>{"", "array: 7 Saving the buffer failed",
                                             "close: 7 Unable to write to file"}));
}

/// The application frees space after a checkpoint that failed; the checkpoint before is kept.
TEST_F(FullDeviceTest, ACheckpointThatDoesNotFitIsRepeatedByTheNext) {
    const BlockSizeVariable blockSize("200");
    const fs::path output = temporaryPath("recovered");
    CheckpointedRun complete(output.string(), 22);
    ASSERT_TRUE(complete.run());
    std::size_t failures = 0;
    for (long free = 1; free <= 4; ++free) {
        ASSERT_TRUE(mountPages(free + 40));
        std::ofstream(path("other"))
            << std::string(static_cast<std::size_t>(40 * sysconf(_SC_PAGESIZE)), 'o');
        CheckpointedRun run(path("first"), 22);
        if (run.start()) {
            run.addEverything();
            failures += run.errors.size() - complete.errors.size();
            fs::remove(path("other"));
            EXPECT_TRUE(run.checkpoint(Durability::Device));
            EXPECT_TRUE(recover(path("first"), output.string(), true).isComplete());
            EXPECT_TRUE(run.close());
            EXPECT_TRUE(readFile(path("first")) == readFile(output));
        }
        umount(folder.c_str());
    }
    fs::remove(output);
    EXPECT_GT(failures, 10U);
}

TEST_F(SystemErrorTest, APathThatCannotBeOpenedIsNamedAndLeftAsItIs) {
    std::ofstream(path("file")) << "content";
    fs::permissions(path("file"), fs::perms::owner_read);
    fs::create_directory(path("closed"));
    fs::permissions(path("closed"), fs::perms::owner_read | fs::perms::owner_exec);
    const uid_t user = geteuid();
    constexpr uid_t nobody = 65534;
    if (user == 0 && seteuid(nobody) != 0) {
        GTEST_SKIP() << "root has all permissions";
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

} // namespace
