/// Journals, temporary files and recovery, on every system.
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/recovery.hpp>

#include "support/everything.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <csignal>
#endif

namespace {

using namespace Testing;
namespace fs = std::filesystem;
using Tyr::Exception::FileOpenException;
using Tyr::Exception::InvalidArguments;
using Tyr::Exception::InvalidObjectState;

SaverOptions safeOptions(bool journal, bool replaces, bool overwrite = true) {
    SaverOptions options{overwrite};
    options.journal = journal;
    options.replaceWhenComplete = replaces;
    return options;
}

class SafeOutputTest : public FolderTest {
protected:
    std::string errorOfSave(const std::string& to, const SaverOptions& options) {
        Model other;
        return messageOf<FileOpenException>([&] { other.saveTo(to, options); });
    }

    void writeOld(const std::string& name) { std::ofstream(path(name)) << "old"; }

    Model model;
};

TEST_F(SafeOutputTest, ACheckpointNeedsAnOpenFileAndAJournal) {
    const auto error = [&] {
        return messageOf<InvalidObjectState>([&] { model.checkpoint(Durability::Device); });
    };
    EXPECT_EQ(error(), "File not open.");
    model.saveTo("", safeOptions(true, true));
    EXPECT_EQ(error(), "File not open.");
    model.close();
    model.saveTo(path("out"), safeOptions(false, true));
    EXPECT_EQ(error(), "No journal");
    model.close();
    model.saveTo(path("out"), safeOptions(true, false));
    EXPECT_EQ(error(), "no error");
    model.close();
    EXPECT_EQ(error(), "File not open.");
    EXPECT_EQ(names(), "out ");
}

TEST_F(SafeOutputTest, AJournalIsRemovedByCloseAndReplacedOnlyWithOverwrite) {
    std::ofstream(path("out.journal")) << "journal of an earlier run";
    EXPECT_EQ(errorOfSave(path("out"), safeOptions(true, false, false)), "Journal exists.");
    EXPECT_EQ(names(), "out.journal ");
    model.saveTo(path("out"), safeOptions(true, false));
    EXPECT_EQ(readFile(path("out.journal")).substr(0, 8), "\x89MEJ\r\n\x1A\n");
    EXPECT_EQ(errorOfSave(path("out"), safeOptions(true, false, false)), "Journal exists.");
    model.close();
    EXPECT_EQ(errorOfSave(path("out"), safeOptions(true, true, false)), "File exists.");
    {
        Model destroyed;
        destroyed.saveTo(path("second"), safeOptions(true, false));
    }
    EXPECT_EQ(names(), "out second ");
    MekReader::check(path("second"));
}

TEST_F(SafeOutputTest, OnlyCloseReplacesAFile) {
    writeOld("out");
    EXPECT_EQ(errorOfSave(path("out"), safeOptions(false, true, false)), "File exists.");
    EXPECT_EQ(errorOfSave(folder.string(), safeOptions(false, true)),
              '"' + folder.string() + "\" is not a regular file");
    {
        Model destroyed;
        destroyed.saveTo(path("out"), safeOptions(false, true));
        Everything(3).addTo(destroyed);
        EXPECT_EQ(names(), ".part out ");
    }
    EXPECT_EQ(names(), "out ");
    EXPECT_EQ(readFile(path("out")), "old");
    model.saveTo(path("out"), safeOptions(false, true));
    model.close();
    MekReader::check(path("out"));

    for (const bool journal : {false, true}) {
        model.saveTo(path("new"), safeOptions(journal, true, false));
        Everything(3).addTo(model);
        writeOld("new"); // appears before `close`
        EXPECT_EQ(messageOf<FileOpenException>([&] { model.close(); }), "File exists.");
        EXPECT_EQ(names(), journal ? ".part new new.journal out " : "new out ");
        EXPECT_EQ(messageOf<InvalidObjectState>([&] { model.checkpoint(); }), "File not open.");
        model.close();
        EXPECT_EQ(readFile(path("new")), "old");
        fs::remove(path("new"));
    }
    EXPECT_TRUE(recover(path("new"), path("new")).isComplete());
    model.saveTo(path("expected"));
    Everything(3).addTo(model);
    model.close();
    EXPECT_EQ(withoutDate(path("new")), withoutDate(path("expected")));
}

#if !defined(_WIN32)
TEST_F(SafeOutputTest, KeepsPermissionsAndLinks) {
    writeOld("out");
    const auto permissions = fs::perms::owner_all | fs::perms::others_write;
    fs::permissions(path("out"), permissions);
    fs::create_directory(path("folder"));
    fs::create_symlink("../out", path("folder/link"));
    fs::create_symlink("link", path("folder/second"));
    fs::create_symlink("none", path("folder/dangling"));
    model.saveTo(path("folder/second"), safeOptions(true, true));
    EXPECT_EQ(names(), ".part folder out out.journal ");
    EXPECT_EQ(fs::status(path("out.journal")).permissions(), permissions);
    model.checkpoint();
    EXPECT_TRUE(recover(path("folder/second"), path("recovered")).isComplete());
    model.close();
    EXPECT_EQ(names(), "folder out recovered ");
    EXPECT_EQ(fs::status(path("out")).permissions(), permissions);
    EXPECT_TRUE(fs::is_symlink(path("folder/link")));
    MekReader::check(path("out"));
    model.saveTo(path("folder/dangling"), safeOptions(false, true, false));
    model.close();
    EXPECT_TRUE(fs::is_symlink(path("folder/dangling")));
    MekReader::check(path("folder/none"));
}
#endif

TEST_F(SafeOutputTest, RecoversAnUnfinishedFileByEachOfItsPathsAndNoOther) {
    {
        Model destroyed;
        destroyed.saveTo((folder / "out").wstring(), safeOptions(true, true));
        Everything(3).addTo(destroyed);
        destroyed.checkpoint();
        writeOld("out");
        EXPECT_TRUE(recover(path("out"), path("live")).isComplete()); // while it is written
    }
    EXPECT_EQ(names(), ".part live out out.journal ");
    for (const std::string& name :
         {std::string("out"), std::string("out.journal"), partIn(folder)}) {
        EXPECT_EQ(recover(path(name), path("by any"), true).saved.arrays, 6U);
        EXPECT_EQ(withoutDate(path("by any")), withoutDate(path("live")));
    }
    EXPECT_EQ(messageOf<FileOpenException>([&] { recover(path("out"), path("live")); }),
              "File exists.");
    EXPECT_THROW(recover(path("live"), path("n")), InvalidArguments); // is complete
}

/// Files of a process that is killed. The child of a death test has the folder from the
/// environment.
class KilledProcessTest : public ::testing::Test {
protected:
    KilledProcessTest() {
        const char* const folderOfParent = std::getenv(variable);
        isChild_ = folderOfParent != nullptr;
        folder = isChild_ ? fs::path(folderOfParent) : temporaryPath("killed");
        fs::create_directories(folder);
#if defined(_WIN32)
        _putenv_s(variable, folder.string().c_str());
#else
        setenv(variable, folder.c_str(), 1);
#endif
    }

    ~KilledProcessTest() override {
        if (!isChild_) {
            fs::remove_all(folder);
        }
    }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    /// Adds the first parts of a model, with a checkpoint after each.
    static void add(Model& model, unsigned int parts) {
        unsigned int done = 0;
        Everything(4, [&](const std::string&, const std::function<void()>& operation) {
            if (done == parts) {
                return false;
            }
            operation();
            model.checkpoint();
            ++done;
            return true;
        }).addTo(model);
        EXPECT_EQ(done, parts);
    }

    static void writeUntilKilled(const std::string& to, unsigned int parts) {
        std::ofstream(to) << "old";
        Model model;
        model.saveTo(to, safeOptions(true, true));
        add(model, parts);
        kill();
    }

    static void replace(const std::string& target, unsigned int parts) {
        Model model;
        model.saveTo(target, safeOptions(true, true));
        add(model, parts);
        model.close();
    }

    /// Replaces a file again and again, until another thread ends the process.
    static void replaceUntilKilled(const std::string& target, std::chrono::microseconds delay) {
        std::thread([delay] {
            std::this_thread::sleep_for(delay);
            kill();
        }).detach();
        for (;;) {
            replace(target, 19);
        }
    }

    static void kill() {
#if defined(_WIN32)
        TerminateProcess(GetCurrentProcess(), 9);
#else
        raise(SIGKILL);
#endif
    }

#if defined(_WIN32)
    const ::testing::ExitedWithCode wasKilled{9};
#else
    const ::testing::KilledBySignal wasKilled{SIGKILL};
#endif

    static constexpr const char* variable = "MEKAPI2_TEST_FOLDER";
    fs::path folder;

private:
    bool isChild_ = false;
};

TEST_F(KilledProcessTest, TheCheckpointIsRecoveredAndTheOldFileStays) {
    constexpr unsigned int mostParts = 19;
    for (unsigned int parts = 1; parts <= mostParts; ++parts) {
        const std::string name = path(std::to_string(parts));
        EXPECT_EXIT(writeUntilKilled(name, parts), wasKilled, "");
    }
    for (unsigned int parts = 1; parts <= mostParts; ++parts) {
        const std::string name = path(std::to_string(parts));
        EXPECT_EQ(readFile(name), "old");
        const RecoveryReport report = recover(name, path("recovered"), true);
        EXPECT_TRUE(report.isComplete()) << report.reason;
        Model model;
        model.saveTo(name, safeOptions(true, true));
        add(model, parts);
        model.close();
        EXPECT_EQ(withoutDate(path("recovered")), withoutDate(name));
    }
}

TEST_F(KilledProcessTest, TheOldFileOrTheNewOneIsComplete) {
    replace(path("old"), 5);
    replace(path("new"), 19);
    const std::string oldBytes = withoutDate(path("old"));
    const std::string newBytes = withoutDate(path("new"));
    for (unsigned int number = 0; number < 24; ++number) {
        const std::string target = path("target" + std::to_string(number));
        if (!fs::exists(target)) { // the child runs the loop from its start
            fs::copy_file(path("old"), target);
        }
        const std::chrono::microseconds delay(number * 289);
        EXPECT_EXIT(replaceUntilKilled(target, delay), wasKilled, "");
        const std::string bytes = withoutDate(target);
        EXPECT_TRUE(bytes == oldBytes || bytes == newBytes) << number;
    }
}

} // namespace
