/// Each call of the system, the allocator and the compression fails once for each of the three
/// reactions of the application, with the interfaces for C++ and for C. Each promise is one test,
/// which lists the faults that broke it. The faults of a kind are injected once per process.
#include <tyr/mek2/threads.hpp>

#include "fault/writecycles.hpp"
#if defined(TYR_TEST_HAS_C)
#include "support/cmodel.hpp"
#endif

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <tuple>
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

enum class Interface { Cpp, C };

enum class Promise { Reporting, CompleteFile, UnfinishedFile, WholeShape, NextFile, Resources };

/// The faults that broke each promise, one per line.
using Violations = std::array<std::string, 6>;

class InjectionTest : public FolderTest,
                      public ::testing::WithParamInterface<std::tuple<FaultKind, Interface>> {
protected:
    void SetUp() override {
        FolderTest::SetUp();
        const std::string name = kind.name + std::to_string(static_cast<int>(interface));
        const auto [known, isNew] = violationsByKind.try_emplace(name);
        violations = &known->second;
        if (isNew) {
            runWithoutFault();
            injectAllThroughTheInterface();
        }
    }

    const std::string& violationsOf(Promise promise) const {
        return (*violations)[static_cast<std::size_t>(promise)];
    }

private:
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

    void injectAllThroughTheInterface() {
        for (std::string& lines : *violations) {
            lines.reserve(4096); // a line is no leak
        }
        if (interface == Interface::Cpp) {
            injectAll<Model>();
        }
#if defined(TYR_TEST_HAS_C)
        if (interface == Interface::C) {
            injectAll<CModel>();
        }
#endif
    }

    template <class Writer>
    void injectAll() {
        // initialises what exists once per process
        WriteCyclesOf<Writer>(folder.string(), Reaction::GoOn, results, kind.parallelFor).run();
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
    }

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
                require(Promise::NextFile, messageOf<std::exception>([&] {
                                               cycles.runAgain(path("again"));
                                           }) == "no error",
                        "error");
                require(Promise::NextFile, readFile(path("again")) == faultless[1].bytes,
                        "differs");
            }
        }
        require(Promise::Resources, liveAllocations() == allocations, "memory");
        require(Promise::Resources, openFiles() == files, "open file");
        return wasInjected;
    }

    void checkReporting(const SeenCycles& cycles, Reaction reaction) {
        for (const ReportedError& error : cycles.errors) {
            const std::string message =
                '|' + error.message.substr(0, error.message.find('"')) + '|';
            require(Promise::Reporting, std::string(kind.errors).find(message) != std::string::npos,
                    message);
        }
        require(Promise::Reporting, kind.loss != Loss::None || cycles.errors.size() <= 1,
                "more than one error");
        if (reaction != Reaction::Destroy) {
            require(Promise::Reporting, !kind.isAlwaysReported || !cycles.errors.empty(),
                    "no error");
            require(Promise::Reporting,
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
            require(Promise::CompleteFile, isFinished && (isFaultless || !cycles.errors.empty()),
                    error);
        } else if (isFinished) {
            // the destructor may finish a file, and `close` after an error of `saveTo`
            require(Promise::UnfinishedFile,
                    isFaultless || !cycle.isOpen || reaction == Reaction::Destroy, "valid");
        } else {
            // without the signature if the first write failed
            require(Promise::UnfinishedFile,
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
            require(Promise::CompleteFile,
                    expected == complete.end() ||
                        (found != content.end() && found->second == expected->second),
                    name);
        }
        require(Promise::WholeShape,
                content.count(shapeName) == cycle.expectedContent.count(shapeName), "shape");
    }

    void require(Promise promise, bool isKept, const std::string& detail) {
        if (!isKept) {
            (*violations)[static_cast<std::size_t>(promise)] += injected + ": " + detail + '\n';
            ++violationCount;
        }
    }

    static inline std::map<std::string, Violations> violationsByKind;

    static constexpr unsigned int results = 22;
    const FaultKind& kind = std::get<FaultKind>(GetParam());
    const Interface interface = std::get<Interface>(GetParam());
    const BlockSizeVariable blockSize{"200"};
    std::vector<FaultlessFile> faultless;
    Violations* violations = nullptr;
    std::string injected;
    int violationCount = 0;
};

TEST_P(InjectionTest, ErrorsAreReported) { EXPECT_EQ(violationsOf(Promise::Reporting), ""); }

TEST_P(InjectionTest, ACompleteFileHasAllContent) {
    EXPECT_EQ(violationsOf(Promise::CompleteFile), "");
}

TEST_P(InjectionTest, AnUnfinishedFileIsNotValid) {
    EXPECT_EQ(violationsOf(Promise::UnfinishedFile), "");
}

TEST_P(InjectionTest, AShapeIsWholeOrAbsent) { EXPECT_EQ(violationsOf(Promise::WholeShape), ""); }

TEST_P(InjectionTest, TheNextFileIsNotAffected) { EXPECT_EQ(violationsOf(Promise::NextFile), ""); }

TEST_P(InjectionTest, MemoryAndFilesAreReleased) {
    EXPECT_EQ(violationsOf(Promise::Resources), "");
}

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

const Interface interfaces[] = {
    Interface::Cpp,
#if defined(TYR_TEST_HAS_C)
    Interface::C,
#endif
};

INSTANTIATE_TEST_SUITE_P(Faults, InjectionTest,
                         ::testing::Combine(::testing::ValuesIn(kinds),
                                            ::testing::ValuesIn(interfaces)),
                         [](const auto& param) {
                             const bool isC = std::get<Interface>(param.param) == Interface::C;
                             return std::string(std::get<FaultKind>(param.param).name) +
                                    (isC ? "ThroughTheInterfaceForC" : "");
                         });

} // namespace
