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
constexpr unsigned int stepCount = 40;

float valueAt(unsigned int number, unsigned int step, unsigned int row) {
    return static_cast<float>(number * 10000 + step * 100 + row);
}

void write(const std::string& path, unsigned int number) {
    Model model;
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "tool " + std::to_string(number);
    model.saveTo(path, options);
    const auto shapes = model.addAssemblyComponents(
        std::vector<std::string>{"/root/" + std::to_string(number), "/root/other"});
    model.addNode(NodeType::Group, "below");
    Attributes attributes;
    attributes.set("number", number);
    for (unsigned int count = 0; count < stepCount; ++count) {
        Array1d<float> values(30);
        for (unsigned int row = 0; row < values.size(); ++row) {
            values[row] = valueAt(number, count, row);
        }
        const Step step{std::to_string(count), attributes};
        model.addArrayProperty("result", DatasetType::ResultA1, values, shapes[0], step);
        model.addArrayProperty(DatasetType::NodeIds, values, shapes, step);
        EXPECT_THROW(model.setCurrentNodeId(1000), Tyr::Exception::OutOfBounds);
    }
    model.close();
}

void check(const std::string& path, unsigned int number) {
    MekReader::check(path);
    MekReader::File file(path);
    EXPECT_EQ(file.modifiers().at(0).toolName, "tool " + std::to_string(number));
    const MekReader::Node& shape = file.nodes().at(2);
    EXPECT_EQ(shape.name, std::to_string(number));
    ASSERT_EQ(shape.variables.size(), 2 * stepCount);
    for (unsigned int count = 0; count < stepCount; ++count) {
        const MekReader::Variable& variable = shape.variables[2 * std::size_t{count}];
        EXPECT_EQ(std::get<std::uint32_t>(variable.attributes.at("number")), number);
        const std::vector<float> values = file.floats(variable);
        for (unsigned int row = 0; row < values.size(); ++row) {
            EXPECT_EQ(values[row], valueAt(number, count, row));
        }
    }
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
        check(path(std::to_string(number)), number);
    }
}

} // namespace
