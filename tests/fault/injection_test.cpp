/// Every single call of the system, the allocator and zlib fails once, and what remains is looked
/// at: what the application hears, what stands in the files, and what the model is good for.
#include "fault/faults.hpp"
#include "fault/writecycles.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace Testing;

/// What may be heard of a kind of fault, and whether the application has to hear of each.
struct FaultCase {
    const char* name;
    Fault kind;
    bool isAlwaysHeard;
    bool losesTheFile; ///< bytes are gone, so that `close` has to fail as well
    std::vector<std::pair<int, std::string>> failures;
};

std::ostream& operator<<(std::ostream& out, const FaultCase& fault) { return out << fault.name; }

const std::pair<int, std::string> noWrite = {7, "Unable to write to file"};
const std::pair<int, std::string> noSeek = {7, "Saving the buffer failed"};
const std::pair<int, std::string> noMemory = {16, "Memory allocation error"};
const std::pair<int, std::string> badAlloc = {0, ""};

// Log lines are dropped, also those that found no memory, so that not every lack of it is heard.
const FaultCase cases[] = {
    {"Open", Fault::Open, true, false, {{2, "Unable to open file"}}},
    {"Write", Fault::Write, true, true, {noWrite, noSeek}},
    {"ShortWrite", Fault::ShortWrite, true, true, {noWrite, noSeek}},
    {"Seek", Fault::Seek, true, true, {noSeek, noWrite}},
    {"Flush", Fault::Flush, true, true, {noWrite}},
    {"Close", Fault::Close, false, false, {}},
    {"Malloc", Fault::Malloc, true, false, {noMemory, badAlloc}},
    {"Realloc", Fault::Realloc, true, false, {noMemory}},
    {"New", Fault::New, false, false, {badAlloc}},
    {"CompressMemory", Fault::CompressMemory, true, false, {noMemory}},
    {"Compress", Fault::Compress, true, false, {{2, "Unable to compress block"}}},
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
        again = readFile(path("again"));
    }

    /// @return false if there are less than `number` calls of the kind
    bool strike(std::uint64_t number, Reaction reaction) {
        SCOPED_TRACE(number);
        const std::int64_t heldBefore = heldAllocations();
        const std::size_t filesBefore = openFiles();
        std::string where;
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
            EXPECT_EQ(readFile(path("again")), again);
        }
        EXPECT_EQ(heldAllocations(), heldBefore) << where;
        EXPECT_EQ(openFiles(), filesBefore);
        return true;
    }

    void checkHeard(const WriteCycles& cycles, Reaction reaction) {
        const FaultCase& fault = GetParam();
        for (const Heard& heard : cycles.heard) {
            EXPECT_TRUE(std::any_of(fault.failures.begin(), fault.failures.end(),
                                    [&](auto& told) {
                                        return heard.code == told.first &&
                                               heard.message.substr(0, told.second.size()) ==
                                                   told.second;
                                    }))
                << heard.operation << ": " << heard.code << " " << heard.message;
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
        } else if (bytes != faultless) {
            expectRefused(cycle);
        }
        std::filesystem::remove(cycle.path);
    }

    static void checkContent(const Cycle& cycle) {
        MekReader::check(cycle.path);
        MekReader::File file(cycle.path);
        for (const auto& [id, name] : cycle.nodes) {
            EXPECT_EQ(file.nodes().at(id - 1).name, name);
        }
        for (const auto& [place, values] : cycle.arrays) {
            const std::string& name = place.second;
            const auto& variables = file.nodes().at(place.first - 1).variables;
            const auto variable =
                std::find_if(variables.begin(), variables.end(),
                             [&](const auto& one) { return one.name == name; });
            ASSERT_NE(variable, variables.end()) << name;
            EXPECT_EQ(file.words(*variable), values) << name;
        }
    }

    void expectRefused(const Cycle& cycle) {
        if (failureOf<MekReader::Failure>([&] { MekReader::check(cycle.path); }) == "no failure") {
            // the implicit close, or one after a failed `saveTo`, may well have finished the file
            EXPECT_TRUE(!cycle.isOpen || isDestroyed) << "called right after a failed close";
            checkContent(cycle);
        }
    }

    const BlockSizeVariable blockSize{"200"};
    std::string first;
    std::string second;
    std::string again;
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
    EXPECT_GT(faults, 0U);
}

INSTANTIATE_TEST_SUITE_P(Faults, InjectionTest, ::testing::ValuesIn(cases),
                         [](const auto& one) { return std::string(one.param.name); });

} // namespace
