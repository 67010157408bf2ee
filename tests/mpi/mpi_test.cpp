/// `ParallelModel`. Each rank runs all tests; ranks other than 0 print failures only.
#include <tyr/mek2/mpi.hpp>
#include <tyr/mek2/recovery.hpp>

#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
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

template <class T>
Array2d<T> rowsFrom(const Array2d<T>& whole, std::size_t first, std::size_t end) {
    return Array2d<T>(whole.data() + first * whole.cols(), end - first, whole.cols());
}

/// The same calls to a `ParallelModel`, and on rank 0 to a `Model` with the arrays of all ranks.
class BothModels {
public:
    BothModels(const std::string& name, unsigned int seed) : random(seed) {
        options.overwrite = true;
        options.journal = seed % 2 != 0;
        options.blockSize = std::vector<std::uint32_t>{1, 5000, 0}[seed % 3];
        options.compressionLevel = static_cast<int>(1 + seed % 9);
        ranks.saveTo(name, options);
        if (ranks.rank() == 0) {
            single.saveTo(name + ".single", options);
        }
        both([](auto& model) { return model.addNode(NodeType::RootGroup, "R"); });
    }

    void makeRandomCall() {
        const std::string name(1, static_cast<char>('a' + random() % 4));
        Attributes attributes;
        attributes.set(name, static_cast<unsigned int>(random() % 9));
        const unsigned int id = nodes[random() % nodes.size()];
        NodeProperties moved;
        moved.set(PropertyType::Translation, std::vector<float>{1, 2, static_cast<float>(id)});
        switch (random() % 10) {
            case 0:
                both([&](auto& model) {
                    model.setCurrentNodeId(1);
                    model.addNode(NodeType::Group, name + 'g', attributes);
                    model.setNodeData(model.getNodeId("/R/" + name + 'g'), moved);
                    return model.getNodeId({"R", name + 'g'});
                });
                break;
            case 1:
                both([&](auto& model) {
                    model.setCurrentNodeId(1);
                    return model.addNode(NodeType::Shape, name);
                });
                break;
            case 2:
                both([&](auto& model) {
                    return model.addAssemblyComponents({"/R/" + name + "/x", "/R/y/"})[0];
                });
                both([&](auto& model) {
                    return model.addAssemblyComponents({{"/R/" + name + "g/", attributes}})[0];
                });
                break;
            case 3:
                if (options.journal) {
                    ranks.checkpoint();
                }
                break;
            default:
                random() % 2 == 0 ? addArray<float>(name, attributes)
                                  : addArray<unsigned int>(name, attributes);
        }
    }

    void close() {
        ranks.close();
        single.close();
    }

    ParallelModel ranks{MPI_COMM_WORLD};

private:
    template <class Call>
    void both(const Call& call) {
        const unsigned int id = call(ranks);
        nodes.push_back(id);
        if (ranks.rank() == 0) {
            EXPECT_EQ(call(single), id);
        }
    }

    template <class T>
    void addArray(const std::string& name, const Attributes& attributes) {
        const std::size_t width = std::vector<std::size_t>{1, 3, 6}[random() % 3];
        const auto type = width == 1   ? DatasetType::ResultB1
                          : width == 3 ? DatasetType::Coordinates
                                       : DatasetType::Displacement6;
        const Array2d<T> whole = randomArray<T>(random() % 1000, width);
        const auto [first, end] = shareOf(whole.rows());
        const Array2d<T> share = rowsFrom(whole, first, end);
        const Array1d<unsigned int> ids{nodes[random() % nodes.size()],
                                        nodes[random() % nodes.size()]};
        StepList steps(2);
        steps.set(0, Step{std::to_string(random() % 3), attributes});
        const auto add = [&](auto& model, const auto& array) {
            if (width == 1) {
                const Array1d<T> column(array.data(), array.rows());
                model.addArrayProperty(name, type, column, ids, steps, attributes);
            } else {
                model.addArrayProperty(type, array, ids[0], Step{name}, attributes);
            }
        };
        add(ranks, share);
        if (ranks.rank() == 0) {
            add(single, whole);
        }
    }

    template <class T>
    Array2d<T> randomArray(std::size_t rows, std::size_t width) {
        Array2d<T> array(rows, width);
        const bool isNoise = random() % 2 == 0;
        for (std::size_t i = 0; i < array.size(); ++i) {
            array.data()[i] = static_cast<T>(isNoise ? random() : i % 100);
        }
        return array;
    }

    /// First row of this rank and the row after its last; many ranks have none.
    std::pair<std::size_t, std::size_t> shareOf(std::size_t rows) {
        std::vector<std::size_t> bounds{0, rows};
        while (bounds.size() <= static_cast<std::size_t>(ranks.size())) {
            bounds.push_back(random() % 3 == 0 ? rows : random() % (rows + 1));
        }
        std::sort(bounds.begin(), bounds.end());
        const auto rank = static_cast<std::size_t>(ranks.rank());
        return {bounds[rank], bounds[rank + 1]};
    }

    std::mt19937 random;
    SaverOptions options;
    Model single;
    std::vector<unsigned int> nodes;
};

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
    const auto first = static_cast<unsigned int>(4 * size);
    for (unsigned int seed = first; seed < first + (size == 1 ? 12 : 4); ++seed) {
        SCOPED_TRACE(seed);
        std::string bytes;
        for (int run = 0; run < 2; ++run) {
            BothModels models(path("file"), seed);
            for (int call = 0; call < 40; ++call) {
                models.makeRandomCall();
            }
            if (seed % 2 != 0) {
                models.ranks.checkpoint();
                if (rank == 0) {
                    EXPECT_TRUE(recover(path("file"), path("recovered"), true).isComplete());
                }
            }
            models.close();
            if (rank != 0) {
                continue;
            }
            const std::string written = Testing::withoutDate(path("file"));
            EXPECT_TRUE(run == 0 || written == bytes);
            EXPECT_TRUE(seed % 2 == 0 || Testing::withoutDate(path("recovered")) == written);
            EXPECT_TRUE(Testing::streamsOf(path("file")) ==
                        Testing::streamsOf(path("file.single")));
            bytes = written;
        }
    }
}

/// A model with the mesh 2 and arrays that have one row of each rank. The write cycle fails in many
/// ways; `finish` shows that the arrays that were added are in the file.
class MpiErrorTest : public MpiTest {
protected:
    void start(const ParallelFor& parallelFor = {}) {
        model = std::make_unique<ParallelModel>(MPI_COMM_WORLD);
        SaverOptions options{true};
        options.parallelFor = parallelFor;
        options.blockSize = 1; // each array is written at once
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
            while (count != 0) {
                task(--count);
            }
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
    for (int failing = 0; failing < size; ++failing) {
        start();
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

/// Prints failures.
class FailurePrinter : public ::testing::EmptyTestEventListener {
    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (result.failed()) {
            std::cerr << result.file_name() << ':' << result.line_number() << ": "
                      << result.message() << '\n';
        }
    }
};

} // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    ::testing::InitGoogleTest(&argc, argv);
    if (argc > 1) {
        writeUntilKilled(argv[1]);
    }
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    if (rank != 0) {
        auto& listeners = ::testing::UnitTest::GetInstance()->listeners();
        delete listeners.Release(listeners.default_result_printer());
        listeners.Append(new FailurePrinter);
    }
    const int result = RUN_ALL_TESTS();
    MPI_Finalize();
    return result;
}
