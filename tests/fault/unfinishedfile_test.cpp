/// A file is recognised as unfinished at whatever point its process ended before `close`.
#include "fault/writecycles.hpp"

#include <algorithm>
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
        const std::size_t largestStep = stateStride() * (results > 100 ? 7 : 1);
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
        EXPECT_GT(states, finished.size() / (10 * stateStride()));
    }
    std::cout << states << " states\n";
}

TEST_F(UnfinishedFileTest, AtEachShorterSize) {
    write(1);
    for (std::size_t size = written().size(); size-- > 0;) {
        std::filesystem::resize_file(path("first"), size);
        expectUnfinished();
    }
}

} // namespace
