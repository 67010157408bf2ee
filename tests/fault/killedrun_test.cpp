/// A write cycle with a journal keeps what its last checkpoint promised, at whatever point its
/// process ends; and a file that is replaced is there, or the new one.
#include "fault/checkpointedrun.hpp"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Testing;
namespace fs = std::filesystem;

const char* blockSizeFor(unsigned int results) { return results == 1 ? nullptr : "200"; }

class KilledRunTest : public RecoveryTest {
protected:
    /// @return the status of the process that runs `action`
    static int statusOfChild(const std::function<void()>& action) {
        const pid_t child = fork();
        if (child == 0) {
            action();
            _exit(0);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return status;
    }

    /// Calls `check` with what was promised, after each `step` bytes of a write of a run to
    /// "first".
    void replayRun(unsigned int results, std::size_t step,
                   const std::function<void(const std::set<std::string>&)>& check) {
        std::vector<std::pair<std::size_t, std::set<std::string>>> made{{0, {}}};
        CheckpointedRun run(path("first"), results);
        run.onCheckpoint = [&] { made.emplace_back(recordedWrites(), run.promised); };
        const auto writes = recordWrites([&] { EXPECT_TRUE(run.run()); });
        fs::remove(path("first"));
        auto promise = made.begin();
        replay(writes, step, [&](std::size_t number) {
            while (promise + 1 != made.end() && (promise + 1)->first <= number) {
                ++promise;
            }
            check(promise->second);
        });
        fs::remove(path("first.journal"));
    }

    /// Kills a run in each of its writes and before each file is renamed or removed.
    /// @return number of kills
    std::uint64_t killEach(unsigned int results, bool replaces) {
        const std::string old = readFile(path("old"));
        std::uint64_t kills = 0;
        for (int status = SIGKILL; status == SIGKILL && !HasFailure(); ++kills) {
            *checkpoints = 0;
            if (replaces) {
                fs::copy(path("old"), path("first"));
            }
            status = statusOfChild([&] {
                CheckpointedRun run(path("first"), results, replaces);
                run.onCheckpoint = [&] { ++*checkpoints; };
                injectFault(Fault::Kill, kills + 1, [&] { run.run(); });
            });
            EXPECT_TRUE(status == SIGKILL || status == 0);
            const std::string target = readFile(path("first"));
            EXPECT_TRUE(!replaces || target == old || target == completeBytes);
            if (target != completeBytes) {
                EXPECT_EQ(recoveryError(promises[*checkpoints]), "") << "kill " << kills + 1;
            }
            EXPECT_EQ(status == 0, !fs::exists(path("first.journal")) && target == completeBytes);
            removeFiles();
        }
        return kills - 1;
    }

    void removeFiles() {
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().filename().string().rfind("first", 0) == 0) {
                fs::remove(entry.path());
            }
        }
    }

    std::vector<std::set<std::string>> promises; ///< after each number of checkpoints
    unsigned int* const checkpoints = static_cast<unsigned int*>(
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_F(KilledRunTest, ACheckpointKeepsWhatCloseWouldWrite) {
    for (unsigned int variant = 0; variant < 12; ++variant) {
        const BlockSizeVariable blockSize(std::array{"200", "1000", ""}[variant % 3]);
        const unsigned int results = std::array{1U, 30U, Everything::allResults}[variant / 3 % 3];
        SCOPED_TRACE(variant);
        const auto write = [&](const std::string& name) {
            auto run = std::make_unique<CheckpointedRun>(path(name), results, variant % 2 != 0);
            run->options.relinkReplaced = variant % 4 < 2;
            EXPECT_TRUE(run->start());
            run->addEverything();
            run->addEverything(); // replaces all arrays, and adds nodes of the same names
            EXPECT_TRUE(run->checkpoint(Durability::Device));
            return run;
        };
        EXPECT_EQ(statusOfChild([&] {
                      const auto run = write("first");
                      raise(SIGKILL);
                  }),
                  SIGKILL);
        EXPECT_TRUE(write("closed")->close());
        EXPECT_EQ(recoverFirst(), "");
        EXPECT_TRUE(report.isComplete()) << report.reason;
        EXPECT_EQ(report.lost.calls + report.lost.arrays + report.lost.steps + report.lost.bytes,
                  0U);
        EXPECT_EQ(report.saved.arrays, 2 * (3 + results + 2));
        EXPECT_EQ(report.saved.steps, results + 3); // no step; two of a list; one is refused
        const std::string closed = readFile(path("closed"));
        EXPECT_TRUE(readFile(path("recovered")) == closed);
        EXPECT_GT(closed.size(), 100 * results);
        removeFiles();
    }
}

TEST_F(KilledRunTest, KeepsThePromisesAfterEachWrittenByte) {
    std::size_t states = 0;
    const std::pair<unsigned int, std::size_t> sizes[] = {{1, 1}, {22, 17}, {230, 257}};
    for (const auto& [results, step] : sizes) {
        const BlockSizeVariable blockSize(blockSizeFor(results));
        runWithoutFault(results);
        std::size_t promised = 0;
        replayRun(results, step * stateStride(), [&](const std::set<std::string>& promise) {
            EXPECT_EQ(recoveryError(promise), "");
            promised = promise.size();
            ++states;
        });
        EXPECT_TRUE(recoveredBytes == completeBytes);
        EXPECT_GT(promised, results);
    }
    std::cout << states << " states\n";
}

TEST_F(KilledRunTest, KeepsThePromisesAfterAKillInEachWrite) {
    std::ofstream(path("old")) << std::string(5000, 'o');
    for (const unsigned int results : {1U, 22U, 230U}) {
        const BlockSizeVariable blockSize(blockSizeFor(results));
        runWithoutFault(results);
        CheckpointedRun run(path("first"), results);
        promises.assign(1, {});
        run.onCheckpoint = [&] { promises.push_back(run.promised); };
        EXPECT_TRUE(run.run());
        removeFiles();
        const std::uint64_t kills = killEach(results, false);
        EXPECT_GT(kills, 2 * results);
        std::cout << kills << " kills\n";
        if (results != 230) {
            EXPECT_EQ(killEach(results, true), kills + 1); // and before the file is renamed
        }
    }
}

} // namespace
