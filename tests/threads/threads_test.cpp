#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using ThreadsTest = Testing::FolderTest;

constexpr unsigned int threadCount = 8;

void write(const std::string& path, unsigned int number) {
    Model model;
    SaverOptions options;
    options.overwrite = true;
    model.saveTo(path, options);
    const auto shapes = model.addAssemblyComponents(
        std::vector<std::string>{"/root/" + std::to_string(number), "/root/other"});
    model.addNode(NodeType::Group, "below");
    Attributes attributes;
    attributes.set("number", number);
    for (unsigned int count = 0; count < 40; ++count) {
        const Array1d<float> values(30, static_cast<float>(100 * number + count));
        const Step step{std::to_string(count), attributes};
        model.addArrayProperty("result", DatasetType::ResultA1, values, shapes[0], step);
        model.addArrayProperty(DatasetType::NodeIds, values, shapes, step);
        EXPECT_THROW(model.setCurrentNodeId(1000), Tyr::Exception::OutOfBounds);
    }
    model.close();
}

/// All that is in a file but the date.
std::string contentOf(const std::string& path) {
    MekReader::check(path);
    MekReader::Container container(path);
    return container.stream("Heavy Data") + container.stream("Mek Tree") +
           container.stream("Light Data") + container.stream("Attributes");
}

/// Small blocks, so that all threads ask for the process-wide growth step and write early.
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
        EXPECT_TRUE(contentOf(path(std::to_string(number))) == contentOf(path("alone"))) << number;
    }
}

} // namespace
