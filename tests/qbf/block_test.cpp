#include "tyr/qbf/block.hpp"

#include "support/testing.hpp"
#include "tyr/qbf/blocksizelimiter.hpp"
#include "tyr/qbf/blockzlibcompressor.hpp"

#include <zlib.h>

#include <cstdio>
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
class BlockTest : public Testing::FolderTest {
protected:
    ~BlockTest() override { defaultBlockSize = 10485760; }
};

TEST_F(BlockTest, GrowsByTheDefaultStep) {
    OwnedBlock block;
    block.putBytes("");
    EXPECT_EQ(block.capacity, 10485760U);
    EXPECT_EQ(block.length, 0U);
    block.putBytes(std::string(100, 'x'));
    EXPECT_EQ(block.capacity, 10485760U);
    EXPECT_EQ(block.position, 100U);

    block.putBytes(std::string(10485759 - 100, 'x')); // one byte below the capacity
    EXPECT_EQ(block.capacity, 10485760U);
    block.putBytes("x"); // exactly the capacity
    EXPECT_EQ(block.capacity, 2 * 10485760U);
}

TEST_F(BlockTest, GrowsByTheStepOfTheEnvironment) {
    {
        const BlockSizeVariable variable("1000");
        OwnedBlock block;
        block.putBytes("abcd");
        EXPECT_EQ(block.capacity, 1000U);
        block.putBytes(std::string(3000, 'x'));
        EXPECT_EQ(block.capacity, 4000U);
    }
    OwnedBlock afterRemoval;
    afterRemoval.putBytes("abcd");
    EXPECT_EQ(afterRemoval.capacity, 1000U);
    const BlockSizeVariable variable("0");
    OwnedBlock exact;
    exact.putBytes("");
    exact.putBytes("abc");
    EXPECT_EQ(exact.capacity, 3U);
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

TEST_F(BlockTest, RefusesContentOfFourGibibytes) {
    OwnedBlock block;
    block.putBytes("abc");
    EXPECT_THROW(block.Extend(0xFFFFFFFFU - 2), Tyr::Exception::OverflowError);
    EXPECT_EQ(block.content(), "abc");
}

TEST_F(BlockTest, WritesContentWithItsLengthIfAsked) {
    OwnedBlock empty;
    OwnedBlock block;
    block.putBytes("abc");
    std::FILE* const file = std::fopen(path("out").c_str(), "wb");
    empty.Write(file, false);
    empty.Write(file, true);
    block.Write(file, true);
    block.Write(file, false);
    std::fclose(file);
    EXPECT_EQ(Testing::hex(Testing::readFile(path("out"))),
              "00 00 00 00 03 00 00 00 61 62 63 61 62 63");

    std::FILE* const readOnly = std::fopen(path("out").c_str(), "rb");
    EXPECT_EQ(failureOf<Tyr::Exception::FileWriteException>([&] { block.Write(readOnly, true); }),
              "Unable to write to file");
    std::fclose(readOnly);
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

TEST_F(BlockTest, CompressedContentComesBackWhole) {
    std::string noise;
    for (std::uint32_t state = 1; noise.size() < 70000; state = state * 1664525 + 1013904223) {
        noise += static_cast<char>(state >> 24);
    }
    for (const std::string& content : {std::string(), noise, std::string(300000, 'x')}) {
        OwnedBlock block;
        block.putBytes(content);
        BlockZlibCompressor compress(6);
        compress(block);

        const std::string stored = block.content();
        EXPECT_EQ(stored.substr(0, 4), std::string({static_cast<char>(content.size()),
                                                    static_cast<char>(content.size() >> 8),
                                                    static_cast<char>(content.size() >> 16), 0}));
        std::string inflated(content.size(), '?');
        auto length = static_cast<uLongf>(inflated.size());
        auto used = static_cast<uLong>(stored.size() - 4);
        EXPECT_EQ(uncompress2(reinterpret_cast<Bytef*>(inflated.data()), &length,
                              reinterpret_cast<const Bytef*>(stored.data()) + 4, &used),
                  Z_OK);
        EXPECT_EQ(used, stored.size() - 4);
        EXPECT_TRUE(inflated == content) << content.size() << " bytes";
    }
}

TEST_F(BlockTest, FailedCompressionGivesTheContentBack) {
    OwnedBlock block;
    block.putBytes("content");
    BlockZlibCompressor compress(99); // no such level
    EXPECT_EQ(failureOf<Tyr::Exception::MiscelleneousException>([&] { compress(block); }),
              "Unable to compress block");
    EXPECT_EQ(block.content(), "content");
    EXPECT_EQ(block.position, 7U);
}

} // namespace
