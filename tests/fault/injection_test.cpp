/// Each call of the system, the allocator and the compression fails once for each of the three
/// reactions of the application, with the interfaces for C++ and for C. The test of a kind lists
/// the faults that broke a promise.
#include <tyr/mek2/threads.hpp>

#include "fault/writecycles.hpp"
#if defined(TYR_TEST_HAS_C)
#include "support/cmodel.hpp"
#endif

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace Testing;

enum class Loss {
    None,   ///< so there is at most one error
    Bytes,  ///< of the file, so that `close` has to fail as well
    Unknown ///< a block that is compressed in chunks is written again, other bytes are lost
};

struct FaultKind {
    const char* name;
    Fault fault;
    bool isAlwaysReported;
    Loss loss;
    const char* errors; ///< allowed codes and messages up to a quotation mark, between bars
    ParallelFor parallelFor{};
};

std::ostream& operator<<(std::ostream& out, const FaultKind& kind) { return out << kind.name; }

const char* const writeErrors = "|7 Unable to write to file|7 Saving the buffer failed|";

// The lack of memory for a log line is not reported, since log lines are dropped.
const FaultKind kinds[] = {
    {"Open", Fault::Open, true, Loss::None, "|2 Unable to open file |"},
    {"Write", Fault::Write, true, Loss::Bytes, writeErrors},
    {"ShortWrite", Fault::ShortWrite, true, Loss::Bytes, writeErrors},
    {"Seek", Fault::Seek, true, Loss::Bytes, writeErrors},
    {"Flush", Fault::Flush, true, Loss::Bytes, "|7 Unable to write to file|"},
    {"Close", Fault::Close, false, Loss::None, "|"},
    {"Malloc", Fault::Malloc, true, Loss::None, "|16 Memory allocation error|0 |"},
    {"Realloc", Fault::Realloc, true, Loss::None, "|16 Memory allocation error|"},
    {"New", Fault::New, false, Loss::None, "|0 |"},
    {"CompressMemory", Fault::CompressMemory, true, Loss::None, "|16 Memory allocation error|"},
    {"Compress", Fault::Compress, true, Loss::None, "|2 Unable to compress block|"},
    {"WriteChunk", Fault::Write, true, Loss::Unknown, writeErrors, runTasks},
    {"NewInTask", Fault::New, false, Loss::None, "|0 |", runTasks},
    {"ChunkMemory", Fault::ChunkMemory, true, Loss::None, "|16 Memory allocation error|", runTasks},
    {"Chunk", Fault::Chunk, true, Loss::None, "|2 Unable to compress block|", runTasks},
    {"ParallelFor", Fault::ParallelFor, true, Loss::None, "|0 |", runTasks},
};

class InjectionTest : public FolderTest, public ::testing::WithParamInterface<FaultKind> {
protected:
    struct FaultlessFile {
        std::string bytes;
        Content content;
    };

    void runWithoutFault() {
        WriteCycles cycles(folder.string(), Reaction::GoOn, results, kind.parallelFor);
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
                  3 + 3 + results); // nodes, arrays, results
    }

    template <class Writer>
    void injectAll() {
        // initialises what exists once per process
        WriteCyclesOf<Writer>(folder.string(), Reaction::GoOn, results, kind.parallelFor).run();
        violations.reserve(4096); // a line is no leak
        std::uint64_t faults = 0;
        for (const Reaction reaction : {Reaction::GoOn, Reaction::Close, Reaction::Destroy}) {
            std::uint64_t number = 1;
            for (; violationCount < 10 && inject<Writer>(number, reaction);
                 number = nextCall(number)) {
                ++faults;
            }
        }
        std::cout << faults << " faults\n";
        EXPECT_GE(faults, 6U); // at least one in each write cycle
        EXPECT_EQ(violations, "");
    }

private:
    /// @return false if there are fewer than `number` calls of the kind
    template <class Writer>
    bool inject(std::uint64_t number, Reaction reaction) {
        injected = "call " + std::to_string(number) + ", reaction " +
                   std::to_string(static_cast<int>(reaction)) + ", error in ";
        const std::int64_t allocations = liveAllocations();
        const std::int64_t files = openFiles();
        bool wasInjected = false;
        {
            WriteCyclesOf<Writer> cycles(folder.string(), reaction, results, kind.parallelFor);
            wasInjected = injectFault(kind.fault, number, [&] { cycles.run(); });
            if (wasInjected) {
                injected += cycles.errors.empty() ? "nothing" : cycles.errors.back().operation;
                checkReporting(cycles, reaction);
                checkFile(cycles, 0, reaction);
                checkFile(cycles, 1, reaction);
                require("next file", messageOf<std::exception>([&] {
                                         cycles.runAgain(path("again"));
                                     }) == "no error",
                        "error");
                require("next file", readFile(path("again")) == faultless[1].bytes, "differs");
            }
        }
        require("resources", liveAllocations() == allocations, "memory");
        require("resources", openFiles() == files, "open file");
        return wasInjected;
    }

    void checkReporting(const SeenCycles& cycles, Reaction reaction) {
        for (const ReportedError& error : cycles.errors) {
            const std::string message =
                '|' + error.message.substr(0, error.message.find('"')) + '|';
            require("reporting", std::string(kind.errors).find(message) != std::string::npos,
                    message);
        }
        require("reporting", kind.loss != Loss::None || cycles.errors.size() <= 1,
                "more than one error");
        if (reaction != Reaction::Destroy) {
            require("reporting", !kind.isAlwaysReported || !cycles.errors.empty(), "no error");
            require("reporting",
                    kind.loss != Loss::Bytes || !cycles.cycles[0].isClosed ||
                        !cycles.cycles[1].isClosed,
                    "no error of `close`");
        }
    }

    void checkFile(const SeenCycles& cycles, std::size_t number, Reaction reaction) {
        const Cycle& cycle = cycles.cycles[number];
        const FaultlessFile& expected = faultless[number];
        const bool isFaultless = readFile(cycle.path) == expected.bytes;
        Content content;
        const std::string error = messageOf<MekReader::Error>(
            [&] { content = isFaultless ? expected.content : contentOf(cycle.path); });
        const bool isFinished = error == "no error";
        if (cycle.isOpen && cycle.isClosed) {
            require("finished file", isFinished && (isFaultless || !cycles.errors.empty()), error);
        } else if (isFinished) {
            // the destructor may finish a file, and `close` after an error of `saveTo`
            require("unfinished file",
                    isFaultless || !cycle.isOpen || reaction == Reaction::Destroy, "valid");
        } else {
            // without the signature if the first write failed
            require("unfinished file",
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
            require("finished file",
                    expected == complete.end() ||
                        (found != content.end() && found->second == expected->second),
                    name);
        }
        require("whole shape", content.count(shapeName) == cycle.expectedContent.count(shapeName),
                "shape");
    }

    void require(const char* promise, bool isKept, const std::string& detail) {
        if (!isKept) {
            ((violations += injected) += promise + std::string(": ")) += detail + '\n';
            ++violationCount;
        }
    }

    static constexpr unsigned int results = 22;
    const FaultKind& kind = GetParam();
    const BlockSizeVariable blockSize{"200"};
    std::vector<FaultlessFile> faultless;
    std::string violations;
    std::string injected;
    int violationCount = 0;
};

TEST_P(InjectionTest, AllPromisesAreKept) {
    runWithoutFault();
    injectAll<Model>();
}

#if defined(TYR_TEST_HAS_C)
TEST_P(InjectionTest, AllPromisesAreKeptThroughTheInterfaceForC) {
    runWithoutFault();
    injectAll<CModel>();
}
#endif

TEST(ParallelForThreadsTest, RunsEachTaskWithoutMemoryForThreads) {
    const ParallelFor parallelFor = parallelForThreads(4);
    std::uint64_t number = 1;
    std::vector<int> runs;
    const auto run = [&] {
        runs.assign(8, 0);
        const LibraryCall call;
        parallelFor(runs.size(), [&](std::size_t task) { ++runs[task]; });
    };
    for (; injectFault(Fault::New, number, run); ++number) {
        EXPECT_EQ(runs, std::vector<int>(8, 1)) << number;
    }
    EXPECT_GE(number, 4U); // one for each thread
}

INSTANTIATE_TEST_SUITE_P(Faults, InjectionTest, ::testing::ValuesIn(kinds),
                         [](const auto& kind) { return std::string(kind.param.name); });

} // namespace
