/// Files that a killed process leaves, and finished ones that are damaged afterwards: none passes
/// for a finished one, damage is found or does not matter, and the reader never takes memory for
/// what is not there.
#include "fault/faults.hpp"
#include "fault/writecycles.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using namespace Testing;

constexpr std::size_t firstEntry = 20;
constexpr std::size_t entrySize = 139;
constexpr std::size_t flagsOffset = 137;
constexpr std::size_t firstBlock = 2800;
constexpr std::int64_t buffer = std::int64_t{256} * 1024; // of the reader, at most

class BrokenFileTest : public FolderTest {
protected:
    /// One result makes a file with one table, 22 one with two, and 230 one with three of which
    /// blocks are written early.
    void runCycle(unsigned int results) const {
        const BlockSizeVariable blockSize(results == 1 ? nullptr : "200");
        WriteCycles(folder.string(), Reaction::GoOn, results).run(true);
    }

    void writeGood(unsigned int results) {
        runCycle(results);
        good = readFile(path("first"));
    }

    std::string failureOfCheck() const {
        return messageOf<MekReader::Error>([&] { MekReader::check(path("first")); });
    }

    void expectUnfinished() const {
        EXPECT_EQ(failureOfCheck().substr(0, 19), "file is unfinished:");
    }

    std::fstream openFile(std::ios::openmode mode = std::ios::in) const {
        return std::fstream(path("first"), std::ios::binary | std::ios::out | mode);
    }

    static void put(std::fstream& file, std::size_t position, const std::string& bytes) {
        file.seekp(static_cast<std::streamoff>(position));
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
    }

    /// Runs the write cycle in a process of its own, which dies in a write.
    /// @return false if it had no such write and came to its end
    bool isKilledInWrite(unsigned int results, std::uint64_t number) const {
        std::filesystem::remove(path("first"));
        const pid_t child = fork();
        if (child == 0) {
            const Injection injection(Fault::Kill, number);
            runCycle(results);
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFSIGNALED(status);
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

    /// Only the freeze flag and bits that a compressed form does not use are outside of any check.
    void flipBits(std::size_t step) {
        const std::string content = contentOfFile();
        const std::int64_t start = givenBytes();
        EXPECT_EQ(failureOfCheck(), "no error");
        const std::int64_t limit =
            givenBytes() - start + buffer + 4 * static_cast<std::int64_t>(good.size());
        std::fstream file = openFile();
        std::size_t flips = 0;
        std::size_t freezeFlags = 0;
        std::size_t unusedBits = 0;
        for (std::size_t at = 0; at < good.size() && !HasFailure(); at += step) {
            for (int bit = 0; bit < 8; ++bit) {
                ++flips;
                put(file, at, std::string(1, static_cast<char>(good[at] ^ (1 << bit))));
                const std::int64_t before = givenBytes();
                const bool isHarmless = failureOfCheck() == "no error";
                EXPECT_LE(givenBytes() - before, limit) << at << " bit " << bit;
                EXPECT_TRUE(!isHarmless || contentOfFile() == content) << at << " bit " << bit;
                const bool isInBlock = at >= firstBlock;
                EXPECT_TRUE(!isHarmless || isInBlock ||
                            ((at - firstEntry) % entrySize == flagsOffset && bit == 5));
                unusedBits += isHarmless && isInBlock ? 1 : 0;
                freezeFlags += isHarmless && !isInBlock ? 1 : 0;
            }
            put(file, at, good.substr(at, 1));
        }
        EXPECT_LE(freezeFlags, 20U);
        EXPECT_LE(unusedBits, flips / 300);
        std::cout << freezeFlags + unusedBits << " of " << flips << " flips are harmless\n";
    }

    std::string good;
};

TEST_F(BrokenFileTest, EveryStateOnTheWayIsUnfinished) {
    std::size_t states = 0;
    for (const unsigned int results : {1U, 22U, 230U}) {
        WriteRecorder recorder;
        writeGood(results);
        const std::size_t largestStep = results > 100 ? 7 : 1;
        std::string state;
        std::fstream file = openFile(std::ios::in | std::ios::trunc);
        for (const auto& [start, written] : recorder.writes) {
            for (std::size_t done = 0; done < written.size() && !HasFailure();) {
                const std::string bytes = written.substr(done, largestStep);
                const std::size_t position = start + done;
                state.resize(std::max(state.size(), position + bytes.size()));
                state.replace(position, bytes.size(), bytes);
                put(file, position, bytes);
                done += bytes.size();
                if (state != good) {
                    expectUnfinished();
                    ++states;
                }
            }
        }
        EXPECT_TRUE(state == good);
    }
    std::cout << states << " states\n";
    EXPECT_GT(states, good.size() / 10);
}

TEST_F(BrokenFileTest, EveryWriteCanBeTheLast) {
    for (const unsigned int results : {1U, 22U, 230U}) {
        writeGood(results);
        std::uint64_t kills = 0;
        while (isKilledInWrite(results, kills + 1) && !HasFailure()) {
            if (readFile(path("first")) != good) {
                expectUnfinished();
            }
            ++kills;
        }
        std::cout << kills << " kills\n";
        EXPECT_GE(kills, 8U);
        EXPECT_TRUE(readFile(path("first")) == good);
    }
}

TEST_F(BrokenFileTest, EveryPrefixIsUnfinished) {
    writeGood(1);
    for (std::size_t size = good.size(); size-- > 0;) {
        std::filesystem::resize_file(path("first"), size);
        expectUnfinished();
    }
}

TEST_F(BrokenFileTest, EveryFlippedBitIsFoundOrHarmless) {
    writeGood(1);
    flipBits(1);
    writeGood(22);
    flipBits(41);
}

TEST_F(BrokenFileTest, TheCheckSaysWhatIsWrong) {
    EXPECT_EQ(failureOfCheck(), "there is no such file");
    writeGood(1);
    struct Case {
        std::size_t position;
        const char* bytes;
        const char* failure;
    };
    constexpr std::size_t stored = firstEntry + 133;
    for (const Case& one :
         {Case{0, "X", "not a container: invalid signature"},
          Case{8, "2", "header: the format version is not 1.3"},
          Case{firstEntry, "\x07", "block 0 (\"Heavy Data\"): the id is 7"},
          Case{firstEntry + flagsOffset, "\x02", "block 0 (\"Heavy Data\"): it has unknown flags"},
          Case{stored, "\xFF\xFF\xFF\x7F",
               "file is unfinished: block 0 (\"Heavy Data\") ends after the end of the file"},
          Case{firstBlock, "\xFF\xFF\xFF\x7F",
               "block 0 (\"Heavy Data\"): it has less content than its length says"},
          Case{firstBlock + 4, "\x79", "block 0 (\"Heavy Data\"): incorrect header check"}}) {
        std::fstream file = openFile();
        put(file, one.position, one.bytes);
        EXPECT_EQ(failureOfCheck(), one.failure);
        put(file, 0, good);
    }
}

} // namespace
