/// A file is recognised as unfinished at whatever point its process ended before `close`.
#include "fault/writecycles.hpp"

#include <filesystem>
#include <iostream>
#include <string>

namespace {

using namespace Testing;

using UnfinishedFileTest = WrittenFileTest;

TEST_F(UnfinishedFileTest, AfterEachWrittenByte) {
    std::size_t states = 0;
    for (const unsigned int results : {1U, 22U, 230U}) {
        const auto writes = recordWrites([&] { write(results); });
        const std::string finished = written();
        const std::size_t step = stateStride() * (results > 100 ? 7 : 1);
        std::filesystem::resize_file(path("first"), 0);
        replay(writes, step, [&](std::size_t) {
            if (written() != finished) {
                EXPECT_EQ(checkError().substr(0, 19), "file is unfinished:");
                ++states;
            }
        });
        EXPECT_TRUE(written() == finished);
        EXPECT_GT(states, finished.size() / (10 * stateStride()));
    }
    std::cout << states << " states\n";
}

TEST_F(UnfinishedFileTest, AtEachShorterSize) {
    write(1);
    for (std::size_t size = written().size(); size-- > 0;) {
        std::filesystem::resize_file(path("first"), size);
        EXPECT_EQ(checkError().substr(0, 19), "file is unfinished:");
    }
}

} // namespace
