#include "tyr/qbf/block.hpp"

#include "support/testing.hpp"
#include "tyr/qbf/blocksizelimiter.hpp"
#include "tyr/qbf/blockzlibcompressor.hpp"

#include <string>

namespace {

using namespace TyrQbf;
using Testing::BlockSizeVariable;
using Testing::failureOf;

/// A block whose buffer is freed with it.
struct OwnedBlock : Block {
    OwnedBlock() = default;
    OwnedBlock(const OwnedBlock&) = delete;
    OwnedBlock& operator=(const OwnedBlock&) = delete;
    ~OwnedBlock() { Release(); }

    void putBytes(const std::string& bytes) {
        Put(bytes.data(), static_cast<unsigned int>(bytes.size()));
    }
    std::string content() const {
        return std::string(reinterpret_cast<const char*>(data), length);
    }
};

/// Restores the growth step of the process.
class BlockTest : public ::testing::Test {
protected:
    ~BlockTest() override { defaultBlockSize = 10485760; }
};

TEST_F(BlockTest, GrowsByTheDefaultStep) {
    OwnedBlock block;
    block.putBytes("");
    EXPECT_EQ(block.capacity, 10485760U);
    EXPECT_EQ(block.length, 0U);
    block.putBytes(std::string(10485759, 'x')); // one byte below the capacity
    EXPECT_EQ(block.capacity, 10485760U);
    block.putBytes("x"); // exactly the capacity
    EXPECT_EQ(block.capacity, 2 * 10485760U);
}

TEST_F(BlockTest, ReadsTheEnvironmentLikeAThirtyTwoBitStrtoul) {
    struct Case {
        const char* text;
        std::uint32_t limit;
        std::uint32_t step; ///< with 77 in force before
    };
    constexpr std::uint32_t none = 209715200;
    for (const Case& one : {Case{nullptr, none, 77}, {"1000", 1000, 1000}, {"0", 0, 0},
                            {"text", 0, 0}, {" ", 0, 0}, {" \t+12 34", 12, 12}, {"7MB", 7, 7},
                            {"-4294967295", 1, 1}, {"-1", none, 77}, {"4294967294", 4294967294U,
                            4294967294U}, {"4294967295", none, 77}, {"99999999999999999999", none,
                            77}}) {
        const BlockSizeVariable variable(one.text);
        defaultBlockSize = 77;
        EXPECT_EQ(BlockSizeLimiter().limit, one.limit) << one.text;
        if (one.limit != 4294967294U) {
            OwnedBlock block;
            block.putBytes("");
        }
        EXPECT_TRUE(defaultBlockSize == one.step || one.limit == 4294967294U) << one.text;
    }
}

TEST_F(BlockTest, CursorOverwritesAndStaysInsideTheContent) {
    OwnedBlock block;
    block.Put(std::string("abcdef"));
    block.SetPosition(4);
    block.putBytes("XY");
    EXPECT_EQ(Testing::hex(block.content()), "06 00 00 00 58 59 63 64 65 66");
    EXPECT_EQ(block.position, 6U);

    block.SetPosition(10);
    EXPECT_EQ(failureOf<Tyr::Exception::OutOfBounds>([&] { block.SetPosition(11); }),
              "Invalid block position");
    EXPECT_EQ(block.position, 10U);
}

TEST_F(BlockTest, CompressesToLengthAndOneZlibStream) {
    TYR_NEEDS_BYTES_OF_ZLIB();
    OwnedBlock block;
    block.Put(std::string("abc"));
    BlockZlibCompressor compress(6);
    compress(block);
    EXPECT_EQ(Testing::hex(block.content()),
              "07 00 00 00 78 9C 63 66 60 60 48 4C 4A 06 00 02 66 01 2A");

    OwnedBlock empty;
    compress(empty);
    EXPECT_EQ(Testing::hex(empty.content()), "00 00 00 00 78 9C 03 00 00 00 00 01");
}

} // namespace
