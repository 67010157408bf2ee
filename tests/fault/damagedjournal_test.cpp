/// A recovery from a damaged journal ends with an exception or makes a valid file, and allocates no
/// memory for what the journal only claims.
#include "fault/checkpointedrun.hpp"
#include "support/journalrecords.hpp"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace Testing;

class DamagedJournalTest : public FolderTest {
protected:
    /// Leaves an unfinished file with its journal, as a killed process does.
    DamagedJournalTest() {
        {
            const BlockSizeVariable blockSize("1000");
            CheckpointedRun run(path("a.mek"), 3);
            run.start();
            run.addEverything();
            file = readFile(path("a.mek"));
            journal = readFile(path("a.mek.journal"));
        }
        std::ofstream(path("a.mek"), std::ios::binary) << file;
        std::ofstream(path("a.mek.journal"), std::ios::binary) << journal;
        const std::int64_t start = allocatedBytes();
        EXPECT_EQ(recover(path("a.mek"), path("out"), true).reason, "");
        // with a block size of 1, each value has a block with an entry
        limit_ = allocatedBytes() - start + 256 * static_cast<std::int64_t>(journal.size());
        content_ = contentOf(path("out"));
        EXPECT_EQ(content_.size(), 10U + 15U); // names of nodes, arrays
    }

    /// Recovers from a changed journal. @return whether an exception or the report describes damage
    bool recoverFrom(const std::string& changed, bool isForged) {
        std::ofstream(path("a.mek.journal"), std::ios::binary) << changed;
        bool isFound = true;
        const std::int64_t start = allocatedBytes();
        const std::string error = messageOf<Tyr::Exception::Exception>(
            [&] { isFound = !recover(path("a.mek"), path("out"), true).isComplete(); });
        EXPECT_LE(allocatedBytes() - start, limit_);
        EXPECT_NE(error, "");
        if (error == "no error") {
            expectValid(isForged);
            ++recovered;
        }
        return isFound;
    }

    void printCounts(int runs) const {
        std::cout << recovered << " of " << runs << " journals make a valid file\n";
        EXPECT_GT(recovered, runs / 2);
    }

    const int stride = static_cast<int>(stateStride());
    std::size_t below(std::size_t end) { return random() % end; }

    std::string file;
    std::string journal;
    std::mt19937 random{20};
    int recovered = 0;

private:
    void expectValid(bool isForged) const {
        Content found;
        EXPECT_EQ(messageOf<MekReader::Error>([&] { found = contentOf(path("out")); }), "no error");
        found.erase(""); // the root of a file without nodes
        EXPECT_TRUE(isForged ||
                    std::includes(content_.begin(), content_.end(), found.begin(), found.end()));
    }

    Content content_;
    std::int64_t limit_ = 0;
};

TEST_F(DamagedJournalTest, FlippedBitsAndCutsAreFound) {
    int runs = 0;
    for (; runs < 8000 / stride && !HasFailure(); ++runs) {
        SCOPED_TRACE(runs);
        std::string changed = journal;
        for (std::size_t flips = 1 + below(3); flips > 0; --flips) {
            const std::size_t bit = below(8 * journal.size());
            changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        }
        EXPECT_TRUE(changed == journal || recoverFrom(changed, false));
    }
    for (std::size_t size = 0; size < journal.size() && !HasFailure();
         size += 3 * stateStride(), ++runs) {
        SCOPED_TRACE(size);
        recoverFrom(journal.substr(0, size), false);
    }
    printCounts(runs);
}

/// Records with valid checksums, but in another order or with other content.
TEST_F(DamagedJournalTest, ForgedRecordsMakeValidFiles) {
    const std::vector<std::uint32_t> numbers = {0, 1, 0x7F, 0x7FFFFFFF, 0xFFFFFFFF};
    const std::vector<std::string> records = recordsOf(journal);
    int runs = 0;
    for (; runs < 10000 / stride && !HasFailure(); ++runs) {
        SCOPED_TRACE(runs);
        std::vector<std::string> changed = records;
        std::string& record = changed[below(records.size())];
        const std::size_t at = recordBeginSize + below(record.size() - recordBeginSize - 3);
        switch (below(4)) {
            case 0:
                record.swap(changed[below(records.size())]);
                break;
            case 1:
                record = records[below(records.size())]; // one is lost, another one repeated
                break;
            case 2:
                record[at] = static_cast<char>(random());
                break;
            default:
                record.replace(at, 4, bytesOf(numbers[below(numbers.size())]));
        }
        std::string bytes = journal.substr(0, journalHeadSize);
        for (const std::string& each : changed) {
            bytes += withChecksum(each);
        }
        recoverFrom(bytes, true);
    }
    printCounts(runs);
}

} // namespace
