/// A process that is killed leaves what it has written so far. None of that may pass for a
/// finished file.
#include "fault/faults.hpp"
#include "fault/writecycles.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
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
        try {
            MekReader::check(path("first"));
            ADD_FAILURE() << "an unfinished file passes the check";
        } catch (const MekReader::Failure& failure) {
            EXPECT_EQ(std::string(failure.what()).substr(0, 19), "file is unfinished:");
        }
    }

    /// Runs the write cycle in a process of its own.
    /// @return its id
    template <class Prepare>
    pid_t startCycle(const Prepare& prepare) const {
        std::filesystem::remove(path("first"));
        const pid_t child = fork();
        if (child == 0) {
            [[maybe_unused]] const auto prepared = prepare();
            runCycle();
            _exit(0);
        }
        return child;
    }

    /// @return false if the process came to its end
    static bool wasKilled(pid_t child) {
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
    std::cout << states << " states on the way\n";
    EXPECT_TRUE(state == finished);
}

TEST_P(InterruptionTest, EveryWriteCanBeTheLast) {
    std::uint64_t kills = 0;
    const auto dieInWrite = [&] { return std::make_unique<Injection>(Fault::Kill, kills + 1); };
    while (wasKilled(startCycle(dieInWrite)) && !HasFailure()) {
        if (readFile(path("first")) != finished) {
            expectUnfinished();
        }
        ++kills;
    }
    std::cout << kills << " kills\n";
    EXPECT_GE(kills, 8U);
    EXPECT_TRUE(readFile(path("first")) == finished);
}

TEST_P(InterruptionTest, KillsFromOutsideLeaveNoWrongFile) {
    constexpr unsigned int rounds = 60;
    unsigned int unfinished = 0;
    for (unsigned int round = 0; round < rounds; ++round) {
        const pid_t child = startCycle([] { return 0; });
        const auto hasCome = [&] {
            std::error_code none;
            const auto size = std::filesystem::file_size(path("first"), none);
            return !none && size * rounds >= finished.size() * round;
        };
        while (!hasCome()) {
        }
        kill(child, SIGKILL);
        wasKilled(child);
        if (readFile(path("first")) != finished) {
            expectUnfinished();
            ++unfinished;
        }
    }
    std::cout << unfinished << " unfinished files\n";
}

INSTANTIATE_TEST_SUITE_P(Sizes, InterruptionTest,
                         ::testing::Values(Size{nullptr, 1}, Size{"200", 22}, Size{"200", 230}),
                         [](const auto& size) {
                             return "Of" + std::to_string(size.param.results) + "Results";
                         });

} // namespace
