/// Finished files that are damaged afterwards: the reader finds it or it does not matter, and it
/// never takes memory for what is not there.
#include "fault/faults.hpp"
#include "fault/writecycles.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace Testing;

constexpr std::size_t firstEntry = 20;
constexpr std::size_t entrySize = 139;
constexpr std::size_t flagsOffset = 137;
constexpr std::size_t firstBlock = 2800;
constexpr std::int64_t buffer = std::int64_t{256} * 1024; // of the reader, at most

class DamageTest : public FolderTest {
protected:
    void write(const char* blockSize, unsigned int results) {
        const BlockSizeVariable ofBlocks(blockSize);
        WriteCycles cycles(folder.string(), Reaction::GoOn, results);
        cycles.cycles.pop_back();
        cycles.run();
        good = readFile(path("first"));
        const PeakMemory memory;
        EXPECT_EQ(failureOfCheck(), "no failure");
        memoryOfGood = memory.bytes();
        content = contentOfFile();
    }

    std::string failureOfCheck() const {
        return failureOf<MekReader::Failure>([&] { MekReader::check(path("first")); });
    }

    std::string contentOfFile() const {
        MekReader::Container container(path("first"));
        std::string all;
        for (const char* stream : {"Heavy Data", "Mek Tree", "Light Data", "Attributes",
                                   "Resources", "Global Information"}) {
            all += container.stream(stream);
        }
        return all;
    }

    /// @return whether nothing shows that the bit has changed
    bool flip(std::fstream& file, std::size_t position, int bit) {
        const auto put = [&](int byte) {
            file.seekp(static_cast<std::streamoff>(position));
            file.put(static_cast<char>(byte)).flush();
        };
        put(good[position] ^ (1 << bit));
        const PeakMemory memory;
        const bool isHarmless = failureOfCheck() == "no failure";
        EXPECT_LE(memory.bytes(),
                  memoryOfGood + buffer + 4 * static_cast<std::int64_t>(good.size()));
        if (isHarmless) {
            EXPECT_TRUE(contentOfFile() == content) << position << " bit " << bit;
        }
        put(good[position]);
        return isHarmless;
    }

    /// Only the freeze flag and bits that a compressed form does not use are outside of any check.
    void flipBits(std::size_t step) {
        std::fstream file(path("first"), std::ios::binary | std::ios::in | std::ios::out);
        std::size_t flips = 0;
        std::size_t freezeFlags = 0;
        std::size_t unusedBits = 0;
        for (std::size_t position = 0; position < good.size() && !HasFailure(); position += step) {
            for (int bit = 0; bit < 8; ++bit) {
                ++flips;
                if (!flip(file, position, bit)) {
                    continue;
                }
                if (position >= firstBlock) {
                    ++unusedBits;
                } else {
                    EXPECT_EQ((position - firstEntry) % entrySize, flagsOffset);
                    EXPECT_EQ(bit, 5);
                    ++freezeFlags;
                }
            }
        }
        EXPECT_LE(freezeFlags, 20U);
        EXPECT_LE(unusedBits, flips / 300);
    }

    std::string good;
    std::string content;
    std::int64_t memoryOfGood = 0;
};

TEST_F(DamageTest, EveryFlippedBitIsFoundOrHarmless) {
    write(nullptr, 1);
    flipBits(1);
    write("200", 22);
    flipBits(41);
}

TEST_F(DamageTest, EveryPrefixIsUnfinished) {
    write(nullptr, 1);
    for (std::size_t size = good.size(); size-- > 0;) {
        std::filesystem::resize_file(path("first"), size);
        EXPECT_EQ(failureOfCheck().substr(0, 19), "file is unfinished:") << size;
    }
}

} // namespace
