/// Data at the 32-bit limits of the format. Needs up to 13 GiB of memory, 5 GiB of disk and some
/// minutes, so it runs on demand only.
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <algorithm>
#include <random>

namespace {

using namespace Tyr::Mek2;
using Tyr::Exception::OverflowError;

constexpr std::size_t gibibyte = std::size_t{1} << 30;

/// Compresses well, and differs between parts of an array.
unsigned int valueAt(std::size_t row) { return static_cast<unsigned int>(row / 64); }

class LargeTest : public Testing::FolderTest {
protected:
    LargeTest() {
        model.saveTo(path("out"));
        model.addNode(NodeType::Group, "root");
        shape = model.addNode(NodeType::Shape, "shape");
    }

    void add(const char* name, const Array1d<unsigned int>& values) {
        model.addArrayProperty(name, DatasetType::ResultA1, values, shape, Step{});
    }

    static Array1d<unsigned int> valuesOf(std::size_t bytes) {
        Array1d<unsigned int> values(bytes / 4);
        for (std::size_t row = 0; row < values.size(); ++row) {
            values[row] = valueAt(row);
        }
        return values;
    }

    /// The file is valid, and all its variables have this size and a block each.
    void expectVariables(std::size_t count, std::size_t bytes) {
        model.close();
        EXPECT_NO_THROW(MekReader::check(path("out")));
        MekReader::File file(path("out"));
        const auto& variables = file.nodes().at(2).variables;
        ASSERT_EQ(variables.size(), count);
        for (std::size_t number = 0; number < count; ++number) {
            EXPECT_EQ(variables[number].offset, number * bytes);
            EXPECT_EQ(file.blocks().at(number).rawLength, bytes);
            const auto values = file.words(variables[number]);
            ASSERT_EQ(values.size(), bytes / 4);
            std::size_t row = 0;
            while (row < values.size() && values[row] == valueAt(row)) {
                ++row;
            }
            EXPECT_EQ(row, values.size());
        }
    }

    Model model;
    unsigned int shape = 0;
};

TEST_F(LargeTest, ADatasetOfAlmost4GiBIsReadBack) {
    constexpr std::size_t bytes = 4 * (gibibyte * 39 / 40); // 3.9 GiB
    add("values", valuesOf(bytes));
    expectVariables(1, bytes);
}

TEST_F(LargeTest, ABlockThatWouldExceed4GiBIsSplit) {
    constexpr std::size_t bytes = 2500000000;
    const Testing::BlockSizeVariable limit("3000000000"); // not reached by the first dataset
    add("first", valuesOf(bytes));
    add("second", valuesOf(bytes));
    expectVariables(2, bytes);
}

/// Noise grows a little when it is compressed, here beyond the 32-bit stored length.
TEST_F(LargeTest, ABlockThatGrowsBeyond4GiBIsRefused) {
    {
        Array1d<unsigned int> noise(gibibyte - 1);
        std::generate(noise.begin(), noise.end(), std::mt19937());
        add("noise", noise);
    }
    EXPECT_THROW(model.close(), OverflowError);
    EXPECT_NO_THROW(model.close());
    EXPECT_THROW(MekReader::check(path("out")), MekReader::Error);
}

} // namespace
