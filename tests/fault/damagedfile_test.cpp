/// Damage of a finished file is found or changes no content, and the reader allocates no memory for
/// bytes that the file does not have.
#include "fault/writecycles.hpp"
#include "support/withoutdate.hpp"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>

namespace {

using namespace Testing;

constexpr std::size_t firstEntry = 20;
constexpr std::size_t entrySize = 139;
constexpr std::size_t flagsOffset = 137;
constexpr std::size_t firstBlock = 2800;
constexpr std::int64_t readerBuffer = std::int64_t{256} * 1024; // at most

class DamagedFileTest : public WrittenFileTest {
protected:
    std::string contentOfFile() const {
        const std::string date = MekReader::Container(path("first")).stream("Global Information");
        return streamsOf(path("first")) + date;
    }

    /// Flips each bit of one byte in `step`. Not checked are the freeze flag, and bits that a
    /// compressed form does not use.
    void flipBits(unsigned int results, std::size_t step) {
        write(results);
        const std::string undamaged = written();
        const std::string content = contentOfFile();
        const std::int64_t start = allocatedBytes();
        EXPECT_EQ(checkError(), "no error");
        const std::int64_t limit = allocatedBytes() - start + readerBuffer +
                                   4 * static_cast<std::int64_t>(undamaged.size());
        std::size_t flips = 0;
        std::size_t harmless = 0;
        for (std::size_t at = 0; at < undamaged.size() && !HasFailure(); at += step) {
            const bool hasFreezeFlag = (at - firstEntry) % entrySize == flagsOffset;
            for (int bit = 0; bit < 8; ++bit, ++flips) {
                SCOPED_TRACE(std::to_string(at) + " bit " + std::to_string(bit));
                overwrite(at, std::string(1, static_cast<char>(undamaged[at] ^ (1 << bit))));
                const std::int64_t before = allocatedBytes();
                const bool isFound = checkError() != "no error";
                EXPECT_LE(allocatedBytes() - before, limit);
                EXPECT_TRUE(isFound || at >= firstBlock || (hasFreezeFlag && bit == 5));
                EXPECT_TRUE(isFound || contentOfFile() == content);
                harmless += isFound ? 0 : 1;
            }
            overwrite(at, undamaged.substr(at, 1));
        }
        EXPECT_LE(harmless, 20 + flips / 300);
        std::cout << harmless << " of " << flips << " flips are harmless\n";
    }
};

TEST_F(DamagedFileTest, EachFlippedBitIsFoundOrHarmless) {
    flipBits(1, stateStride());
    flipBits(22, 41 * stateStride());
}

} // namespace
