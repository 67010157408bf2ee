#include "tyr/qbf/block.hpp"

#include "support/testing.hpp"
#include "tyr/mek/globalinfo.hpp"
#include "tyr/mek/material.hpp"
#include "tyr/qbf/blocksizelimiter.hpp"
#include "tyr/qbf/blockzlibcompressor.hpp"
#include "tyr/qbf/encoding.hpp"

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace TyrQbf;
using Testing::BlockSizeVariable;
using Testing::hex;
using Testing::messageOf;

/// A block that frees its buffer.
struct OwnedBlock : Block {
    OwnedBlock() = default;
    OwnedBlock(const OwnedBlock&) = delete;
    OwnedBlock& operator=(const OwnedBlock&) = delete;
    ~OwnedBlock() { Release(); }

    void putBytes(const std::string& bytes) {
        Put(bytes.data(), static_cast<unsigned int>(bytes.size()));
    }
    std::string content() const { return std::string(reinterpret_cast<const char*>(data), length); }
};

/// Restores the growth step of the process.
class BlockTest : public ::testing::Test {
protected:
    ~BlockTest() override { defaultBlockSize = 10485760; }
};

TEST_F(BlockTest, GrowsByTheDefaultStepAndDoesNotWrap) {
    OwnedBlock block;
    block.putBytes("");
    EXPECT_EQ(block.capacity, 10485760U);
    EXPECT_EQ(block.length, 0U);
    block.putBytes(std::string(10485759, 'x')); // one byte below the capacity
    EXPECT_EQ(block.capacity, 10485760U);
    block.putBytes("x"); // exactly the capacity
    EXPECT_EQ(block.capacity, 2 * 10485760U);
    EXPECT_THROW(block.AllocateAdditionalMemory(std::numeric_limits<std::uint64_t>::max()),
                 Tyr::Exception::MemoryAllocationException);
    EXPECT_EQ(block.capacity, 2 * 10485760U);
}

TEST_F(BlockTest, ReadsTheEnvironmentLikeAThirtyTwoBitStrtoul) {
    using Case = std::pair<const char*, std::uint32_t>;
    constexpr std::uint32_t none = 209715200;
    constexpr std::uint32_t largest = 4294967294;
    for (const auto& [value, expected] : {Case{nullptr, none},
                                          {"1000", 1000},
                                          {"0", 0},
                                          {"abc", 0},
                                          {" ", 0},
                                          {" \t\n\v\f\r+12 34", 12},
                                          {"7MB", 7},
                                          {"-4294967295", 1},
                                          {"-1", none},
                                          {"4294967294", largest},
                                          {"4294967295", none},
                                          {"99999999999999999999", none}}) {
        const BlockSizeVariable variable(value);
        EXPECT_EQ(BlockSizeLimiter().limit, expected) << value;
        if (expected != largest) { // too much memory
            defaultBlockSize = 77;
            OwnedBlock block;
            block.putBytes("");
            EXPECT_EQ(defaultBlockSize.load(), expected == none ? 77 : expected) << value;
        }
    }
}

TEST_F(BlockTest, CursorOverwritesAndStaysInsideTheContent) {
    OwnedBlock block;
    block.Put(std::string("abcdef"));
    block.SetPosition(4);
    block.putBytes("XY");
    EXPECT_EQ(hex(block.content()), "06 00 00 00 58 59 63 64 65 66");
    EXPECT_EQ(block.position, 6U);

    block.SetPosition(10);
    EXPECT_EQ(messageOf<Tyr::Exception::OutOfBounds>([&] { block.SetPosition(11); }),
              "Invalid block position");
    EXPECT_EQ(block.position, 10U);
}

TEST_F(BlockTest, CompressesToTheCapacityOfTwoPuts) {
    std::string noise(3000, '\0'); // does not shrink
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    for (const std::uint32_t step : {0U, 5U, 1000U, 100000U}) {
        const BlockSizeVariable variable(std::to_string(step).c_str());
        OwnedBlock block;
        block.putBytes(noise);
        BlockZlibCompressor(6)(block);
        EXPECT_EQ(hex(block.content().substr(0, 4)), "B8 0B 00 00");
        const std::uint32_t first = std::max(4U, step);
        EXPECT_EQ(block.capacity,
                  block.length < first ? first : first + std::max(block.length - 4, step));
    }
}

/// The bytes of one encoded value.
template <class T>
std::string encoded(const T& value) {
    OwnedBlock block;
    Encode(block, value);
    return hex(block.content());
}

TEST(Encoding, SizedRecordsStartWithTheirSize) {
    EXPECT_EQ(encoded(std::vector<TyrMek::ModifierInfo>(1)),
              "01 00 00 00 27 00 00 00 03 00 00 00 30 2E 31 " + hex(std::string(28, '\0')));
    EXPECT_EQ(encoded(std::vector<TyrMek::ResultAttributes>()), "00 00 00 00");

    TyrMek::Material material;
    material.SetDiffuseColor({0.25F, 0.5F, 1, 0});
    material.transparency = 0.5F;
    EXPECT_EQ(encoded(material),
              "54 00 00 00 03 00 00 00 30 2E 33 "
              "00 00 80 3E 00 00 00 3F 00 00 80 3F 00 00 80 3F "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 80 3F "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 80 3F "
              "0B D7 23 3E 0B D7 23 3E 0B D7 23 3E CD CC 4C 3E "
              "00 00 00 3F CD CC 4C 3E 01");
}

} // namespace
