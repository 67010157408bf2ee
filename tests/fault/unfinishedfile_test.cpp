/// The file of a process that ended before `close` is recognised as unfinished.
#include "fault/faults.hpp"
#include "fault/writtenfile.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using namespace Testing;

class UnfinishedFileTest : public WrittenFileTest {
protected:
    void expectUnfinished() const { EXPECT_EQ(checkError().substr(0, 19), "file is unfinished:"); }

    /// Writes the file in a child process that is killed in a write.
    /// @return false if there are fewer than `number` writes
    bool killInWrite(unsigned int results, std::uint64_t number) {
        std::filesystem::remove(path("first"));
        const pid_t child = fork();
        if (child == 0) {
            injectFault(Fault::Kill, number, [&] { write(results); });
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFSIGNALED(status);
    }
};

TEST_F(UnfinishedFileTest, AfterEachWrittenByte) {
    std::size_t states = 0;
    for (const unsigned int results : {1U, 22U, 230U}) {
        const auto writes = recordWrites([&] { write(results); });
        const std::string finished = written();
        const std::size_t largestStep = results > 100 ? 7 : 1;
        std::string state;
        std::filesystem::resize_file(path("first"), 0);
        for (const auto& [start, bytes] : writes) {
            for (std::size_t done = 0; done < bytes.size() && !HasFailure(); done += largestStep) {
                const std::string step = bytes.substr(done, largestStep);
                state.resize(std::max(state.size(), start + done + step.size()));
                state.replace(start + done, step.size(), step);
                overwrite(start + done, step);
                if (state != finished) {
                    expectUnfinished();
                    ++states;
                }
            }
        }
        EXPECT_TRUE(state == finished);
        EXPECT_GT(states, finished.size() / 10);
    }
    std::cout << states << " states\n";
}

TEST_F(UnfinishedFileTest, AfterAKillInEachWrite) {
    std::uint64_t kills = 0;
    for (const unsigned int results : {1U, 22U}) {
        write(results);
        const std::string finished = written();
        for (std::uint64_t number = 1; killInWrite(results, number) && !HasFailure(); ++number) {
            if (written() != finished) {
                expectUnfinished();
            }
            ++kills;
        }
        EXPECT_TRUE(written() == finished);
    }
    std::cout << kills << " kills\n";
    EXPECT_GE(kills, 40U);
}

TEST_F(UnfinishedFileTest, AtEachShorterSize) {
    write(1);
    for (std::size_t size = written().size(); size-- > 0;) {
        std::filesystem::resize_file(path("first"), size);
        expectUnfinished();
    }
}

} // namespace
