/// Each call of the system, the allocator and the compression fails once, in three reactions of the
/// application. One test per promise: it fails with the faults that broke the promise.
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

/// Nodes by their names, and the values of their variables.
using Content = std::map<std::string, std::vector<std::uint32_t>>;

Content contentOf(const std::string& path) {
    Content content;
    MekReader::check(path);
    MekReader::File file(path);
    for (const MekReader::Node& node : file.nodes()) {
        content[node.name];
        for (const MekReader::Variable& variable : node.variables) {
            content[node.name + '/' + variable.name] = file.words(variable);
        }
    }
    return content;
}

std::int64_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

/// Allocated early, so that a violation is not taken for a leak.
std::string emptyReport() {
    std::string report;
    report.reserve(4096);
    return report;
}

/// For each promise, a line for each fault of one kind that broke it.
struct Violations {
    std::string ofReporting = emptyReport();
    std::string ofFinishedFiles = emptyReport();
    std::string ofUnfinishedFiles = emptyReport();
    std::string ofShapes = emptyReport();
    std::string ofResources = emptyReport();
    std::string ofNextFile = emptyReport();
};

class InjectionTest : public FolderTest, public ::testing::WithParamInterface<FaultKind> {
protected:
    /// The first test of a kind injects its faults, the others of the process use the result.
    const Violations& violations() {
        static std::map<Fault, Violations> ofKinds;
        const auto [found, isNew] = ofKinds.try_emplace(kind.fault);
        violations_ = &found->second;
        if (isNew) {
            runWithoutFault();
            injectAll();
        }
        return *violations_;
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
        std::uint64_t faults = 0;
        for (const Reaction reaction : {Reaction::GoOn, Reaction::Close, Reaction::Destroy}) {
            std::uint64_t number = 1;
            while (violationCount < 10 && inject(number, reaction)) {
                ++number;
            }
            faults += number - 1;
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
                checkNextFile(cycles);
            }
        }
        require(liveAllocations() == allocations, violations_->ofResources, "memory");
        require(openFiles() == files, violations_->ofResources, "open file");
        return wasInjected;
    }

    void checkReporting(const WriteCycles& cycles, Reaction reaction) {
        std::string& report = violations_->ofReporting;
        for (const ReportedError& error : cycles.errors) {
            const std::string message = error.message.substr(0, error.message.find('"'));
            require(std::string(kind.errors).find('|' + message + '|') != std::string::npos, report,
                    error.message);
        }
        require(kind.losesBytes || cycles.errors.size() <= 1, report, "more than one error");
        if (reaction != Reaction::Destroy) {
            require(!kind.isAlwaysReported || !cycles.errors.empty(), report, "not reported");
            require(!kind.losesBytes || !cycles.cycles[0].isClosed || !cycles.cycles[1].isClosed,
                    report, "not reported by `close`");
        }
    }

    void checkFile(const WriteCycles& cycles, std::size_t number, Reaction reaction) {
        const Cycle& cycle = cycles.cycles[number];
        const bool isFaultless = readFile(cycle.path) == faultless[number].bytes;
        require(isFaultless || !cycle.isClosed || !cycles.errors.empty(),
                violations_->ofFinishedFiles, "differs");
        Content content;
        const std::string error = messageOf<MekReader::Error>(
            [&] { content = isFaultless ? faultless[number].content : contentOf(cycle.path); });
        const bool isFinished = error == "no error";
        if (cycle.isOpen && cycle.isClosed) {
            require(isFinished, violations_->ofFinishedFiles, error);
        } else if (isFinished) {
            // the destructor may finish a file, and `saveTo` one before it reports an error
            require(isFaultless || !cycle.isOpen || reaction == Reaction::Destroy,
                    violations_->ofUnfinishedFiles, "valid after an error of `close`");
        } else {
            // without the signature if the first write failed
            require(error == "there is no such file" || error.find("file is unfinished:") == 0 ||
                        error == "not a container: invalid signature",
                    violations_->ofUnfinishedFiles, error);
        }
        if (isFinished) {
            checkContent(cycle, content, faultless[number].content);
        }
    }

    void checkContent(const Cycle& cycle, const Content& content, const Content& complete) {
        for (const std::string& name : cycle.expectedContent) {
            const auto expected = complete.find(name); // not of an operation without content
            const auto found = content.find(name);
            require(expected == complete.end() ||
                        (found != content.end() && found->second == expected->second),
                    violations_->ofFinishedFiles, name);
        }
        require(content.count(shapeName) == cycle.expectedContent.count(shapeName),
                violations_->ofShapes, shapeName);
    }

    void checkNextFile(WriteCycles& cycles) {
        const std::string error =
            messageOf<std::exception>([&] { cycles.runAgain(path("again")); });
        require(error == "no error", violations_->ofNextFile, error);
        require(readFile(path("again")) == faultless[1].bytes, violations_->ofNextFile, "differs");
    }

    void require(bool condition, std::string& report, const std::string& what) {
        if (!condition) {
            report += injected + ": " + what + '\n';
            ++violationCount;
        }
    }

    const FaultKind& kind = GetParam();
    const BlockSizeVariable blockSize{"200"};
    std::vector<FaultlessFile> faultless;
    Violations* violations_ = nullptr;
    std::string injected;
    int violationCount = 0;
};

TEST_P(InjectionTest, EveryErrorIsReportedOnce) { EXPECT_EQ(violations().ofReporting, ""); }

TEST_P(InjectionTest, AFileIsCompleteAfterClose) { EXPECT_EQ(violations().ofFinishedFiles, ""); }

TEST_P(InjectionTest, AnUnfinishedFileIsRecognised) {
    EXPECT_EQ(violations().ofUnfinishedFiles, "");
}

TEST_P(InjectionTest, AShapeIsAddedWholeOrNotAtAll) { EXPECT_EQ(violations().ofShapes, ""); }

TEST_P(InjectionTest, NothingLeaks) { EXPECT_EQ(violations().ofResources, ""); }

TEST_P(InjectionTest, TheModelWritesItsNextFile) { EXPECT_EQ(violations().ofNextFile, ""); }

INSTANTIATE_TEST_SUITE_P(Faults, InjectionTest, ::testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

} // namespace
