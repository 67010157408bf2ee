/// The 32-bit limits of the format for real. Takes up to 13 GiB of memory, 5 GiB of disk and some
/// minutes, so it is run on demand only.
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <cstdint>
#include <string_view>

namespace {

using namespace Tyr::Mek2;
using Tyr::Exception::OverflowError;

constexpr std::size_t gibibyte = std::size_t{1} << 30;

/// Compresses well, and differs from place to place.
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

    /// The block holds these values alone, in byte planes.
    static void expectValues(MekReader::Container& container, const MekReader::Block& block,
                             std::size_t bytes) {
        const std::size_t count = bytes / 4;
        ASSERT_EQ(block.rawLength, bytes);
        std::size_t row = 0;
        unsigned int plane = 0;
        std::size_t wrongBytes = 0;
        container.expand(block, [&](std::string_view piece) {
            for (const char byte : piece) {
                const unsigned int expected = (valueAt(row) >> (8 * plane)) & 0xFF;
                wrongBytes += static_cast<unsigned char>(byte) != expected ? 1 : 0;
                if (++row == count) {
                    row = 0;
                    ++plane;
                }
            }
        });
        EXPECT_EQ(wrongBytes, 0U);
    }

    Model model;
    unsigned int shape = 0;
};

TEST_F(LargeTest, ADatasetOf4GiBIsRefused) {
    EXPECT_THROW(add("values", Array1d<unsigned int>(gibibyte)), OverflowError);
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("out")));
    EXPECT_EQ(MekReader::Container(path("out")).streamLength("Heavy Data"), 0U);
}

TEST_F(LargeTest, ADatasetOfAlmost4GiBIsReadBack) {
    constexpr std::size_t bytes = 4 * (gibibyte * 39 / 40); // 3.9 GiB
    add("values", valuesOf(bytes));
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("out")));
    MekReader::Container container(path("out"));
    expectValues(container, container.blocks().at(0), bytes);
}

TEST_F(LargeTest, ABlockThatWouldPass4GiBIsSplit) {
    constexpr std::size_t bytes = 2500000000;
    const Testing::BlockSizeVariable limit("3000000000"); // the first block has room by its limit
    {
        const Array1d<unsigned int> values = valuesOf(bytes);
        add("first", values);
        add("second", values);
    }
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("out")));
    MekReader::File file(path("out"));
    EXPECT_EQ(file.nodes().at(2).variables.at(1).offset, bytes);
    expectValues(file.container(), file.blocks().at(0), bytes);
    expectValues(file.container(), file.blocks().at(1), bytes);
}

/// Noise grows a little when it is compressed, here beyond the 32-bit stored length.
TEST_F(LargeTest, ABlockThatGrowsBeyond4GiBIsRefused) {
    {
        Array1d<unsigned int> noise(gibibyte - 1);
        std::uint32_t state = 1;
        for (std::size_t row = 0; row < noise.size(); ++row) {
            state ^= state << 13;
            state ^= state >> 17;
            state ^= state << 5;
            noise[row] = state;
        }
        add("noise", noise);
    }
    EXPECT_THROW(model.close(), OverflowError);
    EXPECT_NO_THROW(model.close());
    EXPECT_THROW(MekReader::check(path("out")), MekReader::Failure);
}

} // namespace
