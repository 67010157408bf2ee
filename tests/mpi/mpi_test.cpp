/// `ParallelModel`. Each rank runs all tests; ranks other than 0 print failures only.
#include <tyr/mek2/mpi.hpp>
#include <tyr/mek2/threads.hpp>

#include "support/everything.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// Calls of `operator new` that succeed before one fails; negative: all succeed.
long allocationsBeforeFailure = -1;

} // namespace

// not inline: g++ would report that `free` does not match `new`
[[gnu::noinline]] void* operator new(std::size_t size) {
    const bool fails = allocationsBeforeFailure >= 0 && allocationsBeforeFailure-- == 0;
    void* const memory = fails ? nullptr : std::malloc(size != 0 ? size : 1);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

using namespace Tyr::Mek2;
using namespace Tyr::Exception;
namespace fs = std::filesystem;

/// Takes whole arrays on all ranks, and gives each rank random rows of them; many have none.
class SharingModel : public ParallelModel {
public:
    explicit SharingModel(unsigned int seed) : ParallelModel(MPI_COMM_WORLD), random_(seed) {}

    template <class Array, class... More>
    void addArrayProperty(const std::string& name, DatasetType type, const Array& whole,
                          const More&... more) {
        ParallelModel::addArrayProperty(name, type, shareOf(whole), more...);
    }
    template <class Array, class... More>
    void addArrayProperty(DatasetType type, const Array& whole, const More&... more) {
        ParallelModel::addArrayProperty(type, shareOf(whole), more...);
    }

private:
    template <class T>
    Array1d<T> shareOf(const Array1d<T>& whole) {
        const auto [first, count] = rowsOf(whole.size());
        return Array1d<T>(whole.data() + first, count);
    }
    template <class T>
    Array2d<T> shareOf(const Array2d<T>& whole) {
        const auto [first, count] = rowsOf(whole.rows());
        return Array2d<T>(whole.data() + first * whole.cols(), count, whole.cols());
    }

    /// First row and number of rows of this rank.
    std::pair<std::size_t, std::size_t> rowsOf(std::size_t rows) {
        std::vector<std::size_t> bounds{0, rows};
        while (bounds.size() <= static_cast<std::size_t>(size())) {
            bounds.push_back(random_() % 3 == 0 ? rows : random_() % (rows + 1));
        }
        std::sort(bounds.begin(), bounds.end());
        const auto at = bounds.begin() + rank();
        return {at[0], at[1] - at[0]};
    }

    std::mt19937 random_;
};

/// It cannot be compressed.
Array2d<unsigned int> noise(std::size_t rows) {
    std::mt19937 random(1);
    Array2d<unsigned int> array(rows, 3);
    std::generate_n(array.data(), array.size(), std::ref(random));
    return array;
}

/// The same calls for a `Model` and a `SharingModel`. The last array is large.
template <class Writer>
void addModel(Writer& model, unsigned int seed, const std::function<void()>& afterCall) {
    Testing::Everything(8 + seed, [&](const std::string&, const auto& operation) {
        operation();
        afterCall();
        return true;
    }).addTo(model);
    model.addArrayProperty(DatasetType::Coordinates, noise(100'000),
                           model.addNode(NodeType::Shape, "noise"), Step{});
}

class MpiTest : public ::testing::Test {
protected:
    /// The folder is that of rank 0.
    MpiTest() {
        std::string name = Testing::temporaryPath("mpi").string();
        name.resize(200);
        MPI_Bcast(name.data(), 200, MPI_CHAR, 0, MPI_COMM_WORLD);
        folder = name.c_str();
        MPI_Comm_rank(MPI_COMM_WORLD, &rank);
        MPI_Comm_size(MPI_COMM_WORLD, &size);
        if (rank == 0) {
            fs::create_directories(folder);
        }
    }
    ~MpiTest() override {
        if (rank == 0) {
            fs::remove_all(folder);
        }
    }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    /// The message of the exception of class `Error` that the call throws on this rank.
    template <class Error, class Call>
    static std::string errorOf(const Call& call) {
        try {
            call();
        } catch (const Error& error) {
            const int* const failed = boost::get_error_info<FailedRank>(error);
            const std::string prefix =
                failed != nullptr ? "rank " + std::to_string(*failed) + ": " : "no rank";
            EXPECT_EQ(std::string(error.what()).substr(0, prefix.size()), prefix);
            return error.what();
        }
        return "no error";
    }

    int rank = 0;
    int size = 1;
    fs::path folder;
};

TEST_F(MpiTest, HoldsTheModelOfOneProcessInTheSameBytesEachTime) {
    const unsigned int seeds = size < 4 ? 6 : 3; // ranks that wait use the processor
    for (unsigned int seed = 0; seed < seeds; ++seed) {
        SCOPED_TRACE(seed);
        SaverOptions options{true};
        options.journal = seed % 2 != 0;
        options.blockSize = std::vector<std::uint32_t>{1, 2000, 0}[seed % 3];
        options.compressionLevel = static_cast<int>(1 + seed);
        std::string bytes;
        for (int run = 0; run < 2; ++run) {
            SharingModel model(seed);
            model.saveTo(path("file"), options);
            unsigned int calls = 0;
            addModel(model, seed, [&] {
                if (options.journal && ++calls % 10 == 0) {
                    model.checkpoint();
                }
            });
            model.close();
            if (rank == 0) {
                const std::string written = Testing::withoutDate(path("file"));
                EXPECT_TRUE(run == 0 || written == bytes);
                bytes = written;
            }
        }
        if (rank == 0) {
            Model single;
            single.saveTo(path("single"), options);
            addModel(single, seed, [] {});
            single.close();
            EXPECT_TRUE(Testing::streamsOf(path("file")) == Testing::streamsOf(path("single")));
            EXPECT_EQ(std::system(("'" MEKDIFF "' " + path("file") + ' ' + path("single")).c_str()),
                      0);
        }
    }
}

/// A model with the mesh 2 and arrays that have one row of each rank. The write cycle fails in many
/// ways; `finish` shows that the arrays that were added are in the file.
class MpiErrorTest : public MpiTest {
protected:
    /// @param blockSize 1: each array is written at once
    void start(const ParallelFor& parallelFor = {}, std::uint32_t blockSize = 1) {
        model = std::make_unique<ParallelModel>(MPI_COMM_WORLD);
        SaverOptions options{true};
        options.parallelFor = parallelFor;
        options.blockSize = blockSize;
        model->saveTo(path("file"), options);
        model->addNode(NodeType::RootGroup, "R");
        model->addNode(NodeType::Shape, "S");
        arrays = 0;
    }

    void addArray(unsigned int id = 3) {
        model->addArrayProperty("r", DatasetType::ResultA3, ones, id, Step{std::to_string(arrays)});
        ++arrays;
    }

    void finish() {
        addArray();
        model->close();
        if (rank == 0) {
            MekReader::File file(path("file"));
            MekReader::check(path("file"));
            EXPECT_EQ(file.nodes().at(2).variables.size(), arrays);
            for (const MekReader::Variable& variable : file.nodes().at(2).variables) {
                EXPECT_EQ(file.floats(variable),
                          std::vector<float>(3 * static_cast<std::size_t>(size), 1.0F));
            }
        }
    }

    std::string named(int failing) const { return "rank " + std::to_string(failing) + ": "; }

    const Array2d<float> ones{1, 3, 1.0F};
    std::unique_ptr<ParallelModel> model;
    std::size_t arrays = 0;
};

TEST_F(MpiErrorTest, ErrorsOfEachRankAreRaisedOnAll) {
    EXPECT_THROW(ParallelModel(MPI_COMM_NULL), InvalidArguments);
    for (int failing = 0; failing < size; ++failing) {
        bool throws = false;
        start([&](std::size_t count, const auto& task) {
            if (throws) {
                throw std::runtime_error("of the application");
            }
            parallelForThreads(1)(count, task);
        });
        const bool isFailing = rank == failing;
        throws = isFailing;
        EXPECT_EQ(errorOf<MiscelleneousException>([&] { addArray(); }),
                  named(failing) + "of the application");
        throws = false;
        EXPECT_THROW(model->addArrayProperty(DatasetType::Coordinates,
                                             Array2d<float>(1, isFailing ? 2 : 3), 3U, Step{}),
                     InvalidArguments);
        EXPECT_EQ(errorOf<InvalidArguments>([&] {
                      model->addArrayProperty("r", DatasetType::ResultA1,
                                              Array2d<float>(1, isFailing ? 7 : 1), 3U, Step{});
                  }),
                  named(failing) + "the width of a packed array is not 1 to 6");
        EXPECT_EQ(errorOf<KeyNotFound>([&] { addArray(9); }), "rank 0: Key not found");
        EXPECT_EQ(errorOf<OutOfBounds>([&] { model->setCurrentNodeId(9); }).substr(0, 8),
                  "rank 0: ");
        addArray();
        if (failing != 0) {
            Attributes attributes;
            attributes.set("key", isFailing ? 1.0F : 2.0F);
            EXPECT_EQ(errorOf<InvalidArguments>(
                          [&] { model->addNode(NodeType::Group, "G", attributes); }),
                      named(failing) + "other arguments than on rank 0");
            EXPECT_EQ(errorOf<InvalidArguments>(
                          [&] { isFailing ? model->moveToParentNode() : addArray(); }),
                      named(failing) + "another operation than on rank 0");
        }
        finish();
        throws = true; // the function is not called any more
        EXPECT_EQ(errorOf<InvalidObjectState>([&] { addArray(); }), "rank 0: File not open.");
    }
}

TEST_F(MpiErrorTest, EachAllocationMayFailOnEachRank) {
    for (int round = 0; round < 2 * size; ++round) {
        const int failing = round / 2;
        start({}, round % 2 != 0 ? 1 : 0);
        bool hasFailed = true;
        const Array1d<unsigned int> ids{3, 3};
        const Step step{"s"};
        for (long number = failing; hasFailed; number += size) { // each on one rank
            allocationsBeforeFailure = rank == failing ? number : -1;
            hasFailed = false;
            try {
                model->addArrayProperty("r", DatasetType::ResultA3, ones, ids, step);
                model->addAssemblyComponents(std::vector<std::string>());
            } catch (const MemoryAllocationException& error) {
                hasFailed = true;
                EXPECT_EQ(*boost::get_error_info<FailedRank>(error), failing);
            }
            allocationsBeforeFailure = -1;
            EXPECT_LT(number, 10'000);
        }
        arrays = 1; // of the step "s"
        finish();
    }
}

TEST_F(MpiErrorTest, AFullDiskIsAnErrorOfAllRanksAndLosesNothing) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    start();
    addArray();
    rlimit small = limit;
    small.rlim_cur = rank == 0 ? 2850 : limit.rlim_cur;
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(errorOf<FileWriteException>([&] { addArray(); }), "rank 0: Unable to write to file");
    EXPECT_EQ(errorOf<FileWriteException>([&] {
                  model->addArrayProperty(DatasetType::Coordinates, noise(100'000), 3U, Step{});
              }),
              "rank 0: Unable to write to file");
    setrlimit(RLIMIT_FSIZE, &limit);
    finish();
}

TEST_F(MpiErrorTest, ARankThatLeavesEndsTheWorkOfAll) {
    for (int failing = 0; failing < size; ++failing) {
        start();
        addArray();
        if (rank == failing) {
            model.reset();
        } else {
            const Array2d<float> tooWide(1, 7); // another error on the ranks that remain
            EXPECT_EQ(errorOf<InvalidObjectState>([&] {
                          model->addArrayProperty("r", DatasetType::ResultA1, tooWide, 3U, Step{});
                      }),
                      named(failing) + "the model was destroyed");
            EXPECT_EQ(Testing::messageOf<InvalidObjectState>([&] { model->close(); }),
                      "the model was destroyed on another rank, or MPI has ended");
            model.reset();
        }
        if (rank == 0) {
            MekReader::check(path("file"));
        }
    }
}

/// Writes two arrays of 3 rows each from each rank, with a checkpoint between them, and is killed.
void writeUntilKilled(const std::string& path) {
    ParallelModel model(MPI_COMM_WORLD);
    SaverOptions options{true};
    options.journal = true;
    model.saveTo(path, options);
    model.addNode(NodeType::RootGroup, "R");
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    for (const char* const name : {"kept", "lost"}) {
        model.addArrayProperty(name, DatasetType::ResultA1, Array1d<float>(3, 1.0F), id, Step{});
        if (*name == 'k') {
            model.checkpoint();
        }
    }
    if (model.rank() == 0) {
        std::raise(SIGKILL);
    }
    model.close();
}

} // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    GTEST_FLAG_SET(brief, rank != 0);
    ::testing::InitGoogleTest(&argc, argv);
    if (argc > 1) {
        writeUntilKilled(argv[1]);
    }
    const int result = RUN_ALL_TESTS();
    MPI_Finalize();
    return result;
}
