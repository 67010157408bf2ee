/// Each call of the system, the allocator and the compression fails once in a write cycle with a
/// journal. A checkpoint that returned keeps its promise, and the write cycle remains usable.
#include "fault/checkpointedrun.hpp"
#if defined(TYR_TEST_HAS_C)
#include "support/cmodel.hpp"
#endif

#include <cstdint>
#include <iostream>
#include <ostream>
#include <string>

namespace {

using namespace Testing;
namespace fs = std::filesystem;

struct JournalFault {
    const char* name;
    Fault fault;
    bool replaces;
    bool isTransient; ///< the last checkpoint writes what is missing
};

std::ostream& operator<<(std::ostream& out, const JournalFault& kind) { return out << kind.name; }

const JournalFault journalFaults[] = {
    {"Open", Fault::Open, true, true},
    {"OpenInPlace", Fault::Open, false, true},
    {"Write", Fault::Write, true, true},
    {"WriteInPlace", Fault::Write, false, true},
    {"ShortWrite", Fault::ShortWrite, false, true},
    {"Seek", Fault::Seek, true, true},
    {"Flush", Fault::Flush, false, true},
    {"Close", Fault::Close, true, true},
    {"Rename", Fault::Rename, true, true},
    {"Remove", Fault::Remove, true, true},
    {"Synchronize", Fault::Synchronize, true, true},
    {"Malloc", Fault::Malloc, true, true},
    {"Realloc", Fault::Realloc, true, true},
    {"New", Fault::New, true, false}, // a record that is lost ends the journal
    {"CompressMemory", Fault::CompressMemory, true, true},
    {"Compress", Fault::Compress, true, true},
};

class JournalFaultTest : public RecoveryTest, public ::testing::WithParamInterface<JournalFault> {
protected:
    void SetUp() override {
        runWithoutFault(results);
        std::ofstream(path("old")) << "old";
    }

    template <class Writer>
    void injectAll() {
        const BlockSizeVariable blockSize("200");
        std::uint64_t number = 1;
        while (!HasFailure() && inject<Writer>(number)) {
            number = nextCall(number);
        }
        EXPECT_FALSE(HasFailure()) << "in call " << number;
        EXPECT_GE(number, 2U);
        EXPECT_LE(20 * incompleteJournals, number);
        std::cout << number - 1 << " calls, " << incompleteJournals << " incomplete journals\n";
    }

    /// @return false if there are fewer than `number` calls of the kind
    template <class Writer>
    bool inject(std::uint64_t number) {
        writeOld();
        forgetRecovery();
        const std::int64_t allocations = liveAllocations();
        const std::int64_t files = openFiles();
        bool wasInjected = false;
        {
            CheckpointedRunOf<Writer> run(path("first"), results, GetParam().replaces);
            wasInjected = injectFault(GetParam().fault, number, [&] { use(run); });
        }
        EXPECT_EQ(openFiles(), files);
        forgetRecovery();
        EXPECT_EQ(liveAllocations(), allocations);
        return wasInjected;
    }

    static constexpr unsigned int results = 3;
    std::uint64_t incompleteJournals = 0;

    /// @param recoverTo called with the paths of input and output
    template <class Recover>
    void injectInRecoveries(const Recover& recoverTo) {
        const BlockSizeVariable blockSize("200");
        CheckpointedRun run(path("first"), results);
        run.start();
        run.addEverything();
        EXPECT_EQ(recoverFirst(), "");
        const std::string expected = readFile(path("recovered"));
        fs::remove(path("recovered"));
        forgetRecovery();
        run.errors.clear();
        const std::int64_t allocations = liveAllocations();
        const std::int64_t files = openFiles();
        bool isDone = false;
        const auto recoverAgain = [&] {
            isDone = run.attempt("recover", [&] { recoverTo(path("first"), path("recovered")); });
            run.errors.clear();
        };
        std::uint64_t number = 1;
        for (; !HasFailure() && injectFault(GetParam().fault, number, recoverAgain);
             number = nextCall(number)) {
            EXPECT_EQ(fs::exists(path("recovered")), isDone);
            EXPECT_TRUE(!isDone || readFile(path("recovered")) == expected);
            fs::remove(path("recovered"));
            EXPECT_EQ(partIn(folder).empty(), GetParam().fault != Fault::Remove);
            EXPECT_EQ(openFiles(), files);
            EXPECT_EQ(liveAllocations(), allocations);
        }
        EXPECT_TRUE(isDone && !HasFailure()) << "in call " << number - 1;
    }

private:
    void writeOld() {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const std::string name = entry.path().filename().string();
            if (name != "old" && name != "complete") {
                fs::remove(entry.path());
            }
        }
        if (GetParam().replaces) {
            fs::copy(path("old"), path("first"));
        }
    }

    bool hasOld() const { return !GetParam().replaces || readFile(path("first")) == "old"; }

    /// Whether neither a journal nor a temporary file is left.
    bool isTidy() const { return partIn(folder).empty() && !fs::exists(path("first.journal")); }

    template <class Writer>
    void use(CheckpointedRunOf<Writer>& run) {
        if (!run.start()) {
            EXPECT_TRUE(hasOld());
            EXPECT_TRUE(isTidy());
            return;
        }
        run.addEverything();
        if (!run.checkpoint(Durability::Device)) {
            run.checkpoint(Durability::Device);
        }
        EXPECT_TRUE(hasOld());
        EXPECT_EQ(recoveryError(run.promised), "");
        const bool isPromised = run.promised == run.given && run.checkpoint();
        EXPECT_TRUE(isPromised || !GetParam().isTransient) << run.errors.back().message;
        incompleteJournals += isPromised ? 0 : 1;
        EXPECT_TRUE(!isPromised || report.isComplete()) << report.reason;
        if (run.close()) {
            EXPECT_EQ(messageOf<MekReader::Error>([&] { MekReader::check(path("first")); }),
                      "no error");
            EXPECT_TRUE(!isPromised || readFile(path("first")) == readFile(path("recovered")));
            EXPECT_TRUE(isTidy() || GetParam().fault == Fault::Remove);
        } else {
            EXPECT_TRUE(hasOld());
            const std::string before = readFile(path("recovered"));
            EXPECT_EQ(recoveryError(run.promised), "");
            EXPECT_TRUE(!isPromised || readFile(path("recovered")) == before);
        }
        run.attempt("close after close", [&] { run.model->close(); });
    }
};

TEST_P(JournalFaultTest, TheCheckpointsKeepTheirPromises) { injectAll<Model>(); }

#if defined(TYR_TEST_HAS_C)
TEST_P(JournalFaultTest, TheCheckpointsKeepTheirPromisesThroughTheInterfaceForC) {
    CheckpointedRunOf<CModel> warm(path("first"), results);
    warm.run(); // initialises what exists once per process
    injectAll<CModel>();
}
#endif

TEST_P(JournalFaultTest, ARecoveryThatFailsLeavesNothing) {
    injectInRecoveries([](const auto& from, const auto& to) { recover(from, to); });
#if defined(TYR_TEST_HAS_C)
    injectInRecoveries(recoverWithC);
#endif
}

INSTANTIATE_TEST_SUITE_P(Faults, JournalFaultTest, ::testing::ValuesIn(journalFaults),
                         [](const auto& kind) { return std::string(kind.param.name); });

} // namespace
