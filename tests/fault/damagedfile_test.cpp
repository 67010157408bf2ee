/// Damage of a finished file is found or changes no content, and the reader allocates no memory for
/// bytes that the file does not have.
#include "fault/faults.hpp"
#include "fault/writtenfile.hpp"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>

namespace {

using namespace Testing;

constexpr std::size_t firstEntry = 20;
constexpr std::size_t entrySize = 139;
constexpr std::size_t storedLengthOffset = 133;
constexpr std::size_t flagsOffset = 137;
constexpr std::size_t firstBlock = 2800;
constexpr std::int64_t readerBuffer = std::int64_t{256} * 1024; // at most

class DamagedFileTest : public WrittenFileTest {
protected:
    std::string contentOfFile() const {
        MekReader::Container container(path("first"));
        std::string content;
        for (const char* stream : {"Heavy Data", "Mek Tree", "Light Data", "Attributes",
                                   "Resources", "Global Information"}) {
            content += container.stream(stream);
        }
        return content;
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
        std::size_t freezeFlags = 0;
        std::size_t unusedBits = 0;
        for (std::size_t at = 0; at < undamaged.size() && !HasFailure(); at += step) {
            for (int bit = 0; bit < 8; ++bit) {
                overwrite(at, std::string(1, static_cast<char>(undamaged[at] ^ (1 << bit))));
                ++flips;
                const std::int64_t before = allocatedBytes();
                const bool isFound = checkError() != "no error";
                EXPECT_LE(allocatedBytes() - before, limit) << at << " bit " << bit;
                if (!isFound) {
                    const bool isInBlock = at >= firstBlock;
                    const bool isFreezeFlag =
                        (at - firstEntry) % entrySize == flagsOffset && bit == 5;
                    EXPECT_TRUE(isInBlock || isFreezeFlag) << at << " bit " << bit;
                    EXPECT_TRUE(contentOfFile() == content) << at << " bit " << bit;
                    ++(isInBlock ? unusedBits : freezeFlags);
                }
            }
            overwrite(at, undamaged.substr(at, 1));
        }
        EXPECT_LE(freezeFlags, 20U);
        EXPECT_LE(unusedBits, flips / 300);
        std::cout << freezeFlags + unusedBits << " of " << flips << " flips are harmless\n";
    }
};

TEST_F(DamagedFileTest, EachFlippedBitIsFoundOrHarmless) {
    flipBits(1, 1);
    flipBits(22, 41);
}

TEST_F(DamagedFileTest, TheErrorNamesTheDamage) {
    EXPECT_EQ(checkError(), "there is no such file");
    write(1);
    const std::string undamaged = written();
    struct Damage {
        std::size_t position;
        const char* bytes;
        const char* error;
    };
    constexpr std::size_t storedLength = firstEntry + storedLengthOffset;
    for (const Damage& damage :
         {Damage{0, "X", "not a container: invalid signature"},
          Damage{8, "2", "header: the format version is not 1.3"},
          Damage{firstEntry, "\x07", "block 0 (\"Heavy Data\"): the id is 7"},
          Damage{firstEntry + flagsOffset, "\x02",
                 "block 0 (\"Heavy Data\"): it has unknown flags"},
          Damage{storedLength, "\xFF\xFF\xFF\x7F",
                 "file is unfinished: block 0 (\"Heavy Data\") ends after the end of the file"},
          Damage{firstBlock, "\xFF\xFF\xFF\x7F",
                 "block 0 (\"Heavy Data\"): it has less content than its length says"},
          Damage{firstBlock + 4, "\x79", "block 0 (\"Heavy Data\"): incorrect header check"}}) {
        overwrite(damage.position, damage.bytes);
        EXPECT_EQ(checkError(), damage.error);
        overwrite(0, undamaged);
    }
}

} // namespace
