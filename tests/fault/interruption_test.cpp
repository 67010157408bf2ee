/// A process that is killed leaves what it has written so far. None of that may pass for a
/// finished file.
#include "fault/faults.hpp"
#include "fault/writecycles.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace Testing;

/// A file with one table, with two, and with three of which blocks are written early.
struct Size {
    const char* blockSize;
    unsigned int results;
};

std::ostream& operator<<(std::ostream& out, const Size& size) {
    return out << size.results << " results";
}

class InterruptionTest : public FolderTest, public ::testing::WithParamInterface<Size> {
protected:
    InterruptionTest() {
        runCycle();
        finished = readFile(path("first"));
    }

    void runCycle() const {
        const BlockSizeVariable blockSize(GetParam().blockSize);
        WriteCycles cycles(folder.string(), Reaction::GoOn, GetParam().results);
        cycles.cycles.pop_back();
        cycles.run();
    }

    void expectUnfinished() const {
        EXPECT_EQ(
            failureOf<MekReader::Failure>([&] { MekReader::check(path("first")); }).substr(0, 19),
            "file is unfinished:");
    }

    /// Runs the write cycle in a process of its own, which dies in a write.
    /// @return false if it had no such write and came to its end
    bool isKilledInWrite(std::uint64_t number) const {
        std::filesystem::remove(path("first"));
        const pid_t child = fork();
        if (child == 0) {
            const Injection injection(Fault::Kill, number);
            runCycle();
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFSIGNALED(status);
    }

    std::string finished;
};

TEST_P(InterruptionTest, EveryStateOnTheWayIsUnfinished) {
    WriteRecorder recorder;
    runCycle();
    const std::size_t largestStep = GetParam().results > 100 ? 7 : 1;
    std::string state;
    std::size_t states = 0;
    std::fstream file(path("first"),
                      std::ios::binary | std::ios::in | std::ios::out | std::ios::trunc);
    for (const Written& write : recorder.writes) {
        for (std::size_t done = 0; done < write.bytes.size() && !HasFailure();) {
            const std::string bytes = write.bytes.substr(done, largestStep);
            const std::size_t position = write.position + done;
            state.resize(std::max(state.size(), position + bytes.size()));
            state.replace(position, bytes.size(), bytes);
            file.seekp(static_cast<std::streamoff>(position));
            file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
            done += bytes.size();
            if (state != finished) {
                expectUnfinished();
                ++states;
            }
        }
    }
    EXPECT_GT(states, finished.size() / 10);
    EXPECT_TRUE(state == finished);
}

TEST_P(InterruptionTest, EveryWriteCanBeTheLast) {
    std::uint64_t kills = 0;
    while (isKilledInWrite(kills + 1) && !HasFailure()) {
        if (readFile(path("first")) != finished) {
            expectUnfinished();
        }
        ++kills;
    }
    EXPECT_GE(kills, 8U);
    EXPECT_TRUE(readFile(path("first")) == finished);
}

INSTANTIATE_TEST_SUITE_P(Sizes, InterruptionTest,
                         ::testing::Values(Size{nullptr, 1}, Size{"200", 22}, Size{"200", 230}),
                         [](const auto& size) {
                             return "Of" + std::to_string(size.param.results) + "Results";
                         });

} // namespace
