/// Each call of the system, the allocator and the compression fails once for each of the three
/// reactions of the application. Each promise has a test, which lists the faults that broke it.
#include "fault/writecycles.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace Testing;

struct FaultKind {
    const char* name;
    Fault fault;
    bool isAlwaysReported;
    bool losesBytes;    ///< of the file, so that `close` has to fail as well
    const char* errors; ///< allowed codes and messages up to a quotation mark, between bars
};

std::ostream& operator<<(std::ostream& out, const FaultKind& kind) { return out << kind.name; }

const char* const writeErrors = "|7 Unable to write to file|7 Saving the buffer failed|";

// The lack of memory for a log line is not reported, since log lines are dropped.
const FaultKind kinds[] = {
    {"Open", Fault::Open, true, false, "|2 Unable to open file |"},
    {"Write", Fault::Write, true, true, writeErrors},
    {"ShortWrite", Fault::ShortWrite, true, true, writeErrors},
    {"Seek", Fault::Seek, true, true, writeErrors},
    {"Flush", Fault::Flush, true, true, "|7 Unable to write to file|"},
    {"Close", Fault::Close, false, false, "|"},
    {"Malloc", Fault::Malloc, true, false, "|16 Memory allocation error|0 |"},
    {"Realloc", Fault::Realloc, true, false, "|16 Memory allocation error|"},
    {"New", Fault::New, false, false, "|0 |"},
    {"CompressMemory", Fault::CompressMemory, true, false, "|16 Memory allocation error|"},
    {"Compress", Fault::Compress, true, false, "|2 Unable to compress block|"},
};

enum Promise { Reporting, FinishedFile, UnfinishedFile, WholeShape, Resources, NextFile };

/// For each promise, a line for each fault of one kind that broke it.
using Violations = std::array<std::string, NextFile + 1>;

class InjectionTest : public FolderTest, public ::testing::WithParamInterface<FaultKind> {
protected:
    /// The first test of a kind injects its faults, the others of the process use the result.
    std::string violationsOf(Promise promise) {
        static std::map<Fault, Violations> ofKinds;
        const auto [found, isNew] = ofKinds.try_emplace(kind.fault);
        violations = &found->second;
        if (isNew) {
            runWithoutFault();
            injectAll();
        }
        return found->second[promise];
    }

private:
    struct FaultlessFile {
        std::string bytes;
        Content content;
    };

    void runWithoutFault() {
        WriteCycles cycles(folder.string(), Reaction::GoOn);
        cycles.run();
        cycles.runAgain(path("again"));
        EXPECT_TRUE(cycles.errors.empty());
        for (const Cycle& cycle : cycles.cycles) {
            faultless.push_back({readFile(cycle.path), contentOf(cycle.path)});
        }
        EXPECT_EQ(readFile(path("again")), faultless[1].bytes);
        const auto& expected = cycles.cycles[0].expectedContent;
        EXPECT_EQ(std::count_if(expected.begin(), expected.end(),
                                [&](const auto& name) { return faultless[0].content.count(name); }),
                  3 + 3 + 22); // nodes, arrays, results
    }

    void injectAll() {
        for (std::string& lines : *violations) {
            lines.reserve(4096); // a line is no leak
        }
        std::uint64_t faults = 0;
        for (const Reaction reaction : {Reaction::GoOn, Reaction::Close, Reaction::Destroy}) {
            std::uint64_t number = 1;
            for (; violationCount < 10 && inject(number, reaction); number = nextCall(number)) {
                ++faults;
            }
        }
        std::cout << faults << " faults\n";
        EXPECT_GE(faults, 6U); // at least one in each write cycle
    }

    /// @return false if there are fewer than `number` calls of the kind
    bool inject(std::uint64_t number, Reaction reaction) {
        injected = "call " + std::to_string(number) + ", reaction " +
                   std::to_string(static_cast<int>(reaction)) + ", error in ";
        const std::int64_t allocations = liveAllocations();
        const std::int64_t files = openFiles();
        bool wasInjected = false;
        {
            WriteCycles cycles(folder.string(), reaction);
            wasInjected = injectFault(kind.fault, number, [&] { cycles.run(); });
            if (wasInjected) {
                injected += cycles.errors.empty() ? "nothing" : cycles.errors.back().operation;
                checkReporting(cycles, reaction);
                checkFile(cycles, 0, reaction);
                checkFile(cycles, 1, reaction);
                require(NextFile, messageOf<std::exception>([&] {
                                      cycles.runAgain(path("again"));
                                  }) == "no error",
                        "error");
                require(NextFile, readFile(path("again")) == faultless[1].bytes, "differs");
            }
        }
        require(Resources, liveAllocations() == allocations, "memory");
        require(Resources, openFiles() == files, "open file");
        return wasInjected;
    }

    void checkReporting(const WriteCycles& cycles, Reaction reaction) {
        for (const ReportedError& error : cycles.errors) {
            const std::string message =
                '|' + error.message.substr(0, error.message.find('"')) + '|';
            require(Reporting, std::string(kind.errors).find(message) != std::string::npos,
                    message);
        }
        require(Reporting, kind.losesBytes || cycles.errors.size() <= 1, "more than one error");
        if (reaction != Reaction::Destroy) {
            require(Reporting, !kind.isAlwaysReported || !cycles.errors.empty(), "no error");
            require(Reporting,
                    !kind.losesBytes || !cycles.cycles[0].isClosed || !cycles.cycles[1].isClosed,
                    "no error of `close`");
        }
    }

    void checkFile(const WriteCycles& cycles, std::size_t number, Reaction reaction) {
        const Cycle& cycle = cycles.cycles[number];
        const FaultlessFile& expected = faultless[number];
        const bool isFaultless = readFile(cycle.path) == expected.bytes;
        Content content;
        const std::string error = messageOf<MekReader::Error>(
            [&] { content = isFaultless ? expected.content : contentOf(cycle.path); });
        const bool isFinished = error == "no error";
        if (cycle.isOpen && cycle.isClosed) {
            require(FinishedFile, isFinished && (isFaultless || !cycles.errors.empty()), error);
        } else if (isFinished) {
            // the destructor may finish a file, and `close` after an error of `saveTo`
            require(UnfinishedFile, isFaultless || !cycle.isOpen || reaction == Reaction::Destroy,
                    "valid");
        } else {
            // without the signature if the first write failed
            require(UnfinishedFile,
                    !std::filesystem::exists(cycle.path) ||
                        error.find("file is unfinished:") == 0 ||
                        error.find("not a container:") == 0,
                    error);
        }
        if (isFinished) {
            checkContent(cycle, content, expected.content);
        }
    }

    void checkContent(const Cycle& cycle, const Content& content, const Content& complete) {
        for (const std::string& name : cycle.expectedContent) {
            const auto expected = complete.find(name); // not of an operation without content
            const auto found = content.find(name);
            require(FinishedFile,
                    expected == complete.end() ||
                        (found != content.end() && found->second == expected->second),
                    name);
        }
        require(WholeShape, content.count(shapeName) == cycle.expectedContent.count(shapeName),
                "shape");
    }

    void require(Promise promise, bool isKept, const std::string& detail) {
        if (!isKept) {
            (*violations)[promise] += injected + ": " + detail + '\n';
            ++violationCount;
        }
    }

    const FaultKind& kind = GetParam();
    const BlockSizeVariable blockSize{"200"};
    std::vector<FaultlessFile> faultless;
    Violations* violations = nullptr;
    std::string injected;
    int violationCount = 0;
};

TEST_P(InjectionTest, EveryErrorIsReportedOnce) { EXPECT_EQ(violationsOf(Reporting), ""); }
TEST_P(InjectionTest, AFileIsCompleteAfterClose) { EXPECT_EQ(violationsOf(FinishedFile), ""); }
TEST_P(InjectionTest, AnUnfinishedFileIsRecognised) { EXPECT_EQ(violationsOf(UnfinishedFile), ""); }
TEST_P(InjectionTest, AShapeIsAddedWholeOrNotAtAll) { EXPECT_EQ(violationsOf(WholeShape), ""); }
TEST_P(InjectionTest, NothingLeaks) { EXPECT_EQ(violationsOf(Resources), ""); }
TEST_P(InjectionTest, TheModelWritesItsNextFile) { EXPECT_EQ(violationsOf(NextFile), ""); }

INSTANTIATE_TEST_SUITE_P(Faults, InjectionTest, ::testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

} // namespace
