/// A file is recognised as unfinished at whatever point its process ended before `close`.
#include "fault/writecycles.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>

namespace {

using namespace Testing;

class UnfinishedFileTest : public WrittenFileTest {
protected:
    void expectUnfinished() const { EXPECT_EQ(checkError().substr(0, 19), "file is unfinished:"); }
};

TEST_F(UnfinishedFileTest, AfterEachWrittenByte) {
    std::size_t states = 0;
    for (const unsigned int results : {1U, 22U, 230U}) {
        const auto writes = recordWrites([&] { write(results); });
        const std::string finished = written();
        const std::size_t largestStep = results > 100 ? 7 : 1;
        std::string state;
        std::filesystem::resize_file(path("first"), 0);
        for (const auto& [file, start, bytes] : writes) {
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
    for (const unsigned int results : {1U, 22U, 230U}) {
        write(results);
        const std::string finished = written();
        std::uint64_t kills = 0;
        int status = SIGKILL;
        while (status == SIGKILL && !HasFailure()) {
            std::filesystem::remove(path("first"));
            const pid_t child = fork();
            if (child == 0) {
                injectFault(Fault::Kill, kills + 1, [&] { write(results); });
                _exit(0);
            }
            ASSERT_EQ(waitpid(child, &status, 0), child);
            if (written() != finished) { // the last write may only repeat bytes
                expectUnfinished();
            }
            kills += status == SIGKILL ? 1 : 0;
        }
        EXPECT_EQ(status, 0);
        EXPECT_TRUE(written() == finished);
        EXPECT_GE(kills, 8U);
        std::cout << kills << " kills\n";
    }
}

TEST_F(UnfinishedFileTest, AtEachShorterSize) {
    write(1);
    for (std::size_t size = written().size(); size-- > 0;) {
        std::filesystem::resize_file(path("first"), size);
        expectUnfinished();
    }
}

} // namespace
