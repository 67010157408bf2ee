/// Every single call of the system, the allocator and zlib fails once, and what remains is looked
/// at: what the application hears, what stands in the files, and what the model is good for.
#include "fault/faults.hpp"
#include "fault/writecycles.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace Testing;

/// What may be heard of a kind of fault, and whether the application has to hear of each.
struct FaultCase {
    const char* name;
    Fault kind;
    bool isAlwaysHeard;
    bool losesTheFile;    ///< bytes are gone, so that `close` has to fail as well
    const char* failures; ///< codes and messages up to a quotation mark, between bars
};

std::ostream& operator<<(std::ostream& out, const FaultCase& fault) { return out << fault.name; }

const char* const writeFailures = "|7 Unable to write to file|7 Saving the buffer failed|";

// Log lines are dropped, also those that found no memory, so that not every lack of it is heard.
const FaultCase cases[] = {
    {"Open", Fault::Open, true, false, "|2 Unable to open file |"},
    {"Write", Fault::Write, true, true, writeFailures},
    {"ShortWrite", Fault::ShortWrite, true, true, writeFailures},
    {"Seek", Fault::Seek, true, true, writeFailures},
    {"Flush", Fault::Flush, true, true, "|7 Unable to write to file|"},
    {"Close", Fault::Close, false, false, "|"},
    {"Malloc", Fault::Malloc, true, false, "|16 Memory allocation error|0 |"},
    {"Realloc", Fault::Realloc, true, false, "|16 Memory allocation error|"},
    {"New", Fault::New, false, false, "|0 |"},
    {"CompressMemory", Fault::CompressMemory, true, false, "|16 Memory allocation error|"},
    {"Compress", Fault::Compress, true, false, "|2 Unable to compress block|"},
};

std::size_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

class InjectionTest : public FolderTest, public ::testing::WithParamInterface<FaultCase> {
protected:
    InjectionTest() {
        WriteCycles cycles(folder.string(), Reaction::GoOn);
        cycles.run();
        cycles.runAgain(path("again"));
        EXPECT_TRUE(cycles.heard.empty());
        first = readFile(path("first"));
        second = readFile(path("second"));
        EXPECT_EQ(readFile(path("again")), second);
        content = contentOf(path("first"));
        const std::set<std::string>& left = cycles.cycles[0].left;
        EXPECT_EQ(std::count_if(left.begin(), left.end(),
                                [&](const std::string& name) { return content.count(name) != 0; }),
                  3 + 3 + 22); // nodes, arrays, results
    }

    /// @return false if there are less than `number` calls of the kind
    bool strike(std::uint64_t number, Reaction reaction) {
        SCOPED_TRACE(number);
        std::string where(100, ' '); // takes all names without more memory
        const std::int64_t heldBefore = heldAllocations();
        const std::size_t filesBefore = openFiles();
        {
            WriteCycles cycles(folder.string(), reaction);
            {
                const Injection injection(GetParam().kind, number);
                cycles.run();
            }
            if (!Injection::hasStruck()) {
                return false;
            }
            where = cycles.heard.empty() ? "" : cycles.heard.back().operation;
            checkHeard(cycles, reaction);
            checkFile(cycles, cycles.cycles[0], first);
            checkFile(cycles, cycles.cycles[1], second);
            cycles.runAgain(path("again"));
            EXPECT_EQ(readFile(path("again")), second);
        }
        EXPECT_EQ(heldAllocations(), heldBefore) << where;
        EXPECT_EQ(openFiles(), filesBefore);
        return true;
    }

    void checkHeard(const WriteCycles& cycles, Reaction reaction) {
        const FaultCase& fault = GetParam();
        for (const Heard& heard : cycles.heard) {
            const std::string failure = heard.failure.substr(0, heard.failure.find('"'));
            EXPECT_NE(std::string(fault.failures).find('|' + failure + '|'), std::string::npos)
                << heard.operation << ": " << heard.failure;
        }
        if (!fault.losesTheFile) {
            EXPECT_LE(cycles.heard.size(), 1U) << cycles.heard.back().operation;
        }
        if (reaction != Reaction::Destroy) {
            EXPECT_TRUE(!fault.isAlwaysHeard || !cycles.heard.empty());
            EXPECT_FALSE(fault.losesTheFile && cycles.cycles[0].isClosed &&
                         cycles.cycles[1].isClosed);
        }
    }

    /// A file that `close` has returned for is right and holds all that was accepted. Any other one
    /// is refused, unless all of it has reached the system before the failure.
    void checkFile(const WriteCycles& cycles, const Cycle& cycle, const std::string& faultless) {
        const std::string bytes = readFile(cycle.path);
        if (cycle.isClosed && cycles.heard.empty()) {
            EXPECT_TRUE(bytes == faultless) << "differs without a failure";
        } else if (cycle.isClosed && cycle.isOpen) {
            checkContent(cycle);
        } else if (bytes != faultless && isCalledRight(cycle)) {
            // the implicit close, or one after a failed `saveTo`, may well have finished the file
            EXPECT_TRUE(!cycle.isOpen || isDestroyed) << "called right after a failed close";
            checkContent(cycle);
        }
        std::filesystem::remove(cycle.path);
    }

    static bool isCalledRight(const Cycle& cycle) {
        return messageOf<MekReader::Error>([&] { MekReader::check(cycle.path); }) == "no error";
    }

    void checkContent(const Cycle& cycle) {
        MekReader::check(cycle.path);
        Content found = contentOf(cycle.path);
        for (const std::string& name : cycle.left) {
            const auto expected = content.find(name); // not there: an operation that leaves nothing
            EXPECT_TRUE(expected == content.end() ||
                        (found.count(name) != 0 && found[name] == expected->second))
                << name;
        }
    }

    using Content = std::map<std::string, std::vector<std::uint32_t>>;

    /// Nodes by their names, and the values of their variables.
    static Content contentOf(const std::string& path) {
        Content content;
        MekReader::File file(path);
        for (const MekReader::Node& node : file.nodes()) {
            content[node.name];
            for (const MekReader::Variable& variable : node.variables) {
                content[node.name + '/' + variable.name] = file.words(variable);
            }
        }
        return content;
    }

    const BlockSizeVariable blockSize{"200"};
    std::string first;
    std::string second;
    Content content;
    bool isDestroyed = false;
};

TEST_P(InjectionTest, NothingIsLostOrLeaked) {
    std::uint64_t faults = 0;
    for (const Reaction reaction : {Reaction::GoOn, Reaction::Close, Reaction::Destroy}) {
        SCOPED_TRACE(static_cast<int>(reaction));
        isDestroyed = reaction == Reaction::Destroy;
        std::uint64_t number = 1;
        while (strike(number, reaction) && !HasFailure()) {
            ++number;
        }
        faults += number - 1;
    }
    std::cout << faults << " faults\n";
    EXPECT_GT(faults, 0U);
}

INSTANTIATE_TEST_SUITE_P(Faults, InjectionTest, ::testing::ValuesIn(cases),
                         [](const auto& one) { return std::string(one.param.name); });

} // namespace
