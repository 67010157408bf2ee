#include <tyr/mek2/model.hpp>

#include "support/everything.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Testing::withoutDate;
using ThreadsTest = Testing::FolderTest;

constexpr unsigned int threadCount = 8;

/// Each number makes a different file.
void write(const std::string& path, unsigned int number) {
    Model model;
    model.saveTo(path, SaverOptions{true});
    Testing::Everything(20 + number).addTo(model);
    EXPECT_THROW(model.setCurrentNodeId(1000), Tyr::Exception::OutOfBounds);
    model.close();
}

/// With small blocks, all threads use the process-wide growth step and write blocks early.
TEST_F(ThreadsTest, ModelsOnDifferentThreadsAreIndependent) {
    const Testing::BlockSizeVariable blockSize("500");
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < threadCount; ++number) {
        threads.emplace_back([this, number] {
            for (int cycle = 0; cycle < 3; ++cycle) {
                write(path(std::to_string(number)), number);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (unsigned int number = 0; number < threadCount; ++number) {
        write(path("alone"), number);
        EXPECT_TRUE(withoutDate(path(std::to_string(number))) == withoutDate(path("alone")))
            << number;
    }
}

} // namespace
