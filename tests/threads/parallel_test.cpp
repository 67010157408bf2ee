/// `SaverOptions::parallelFor`, `blockSize` and `compressionLevel`.
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/recovery.hpp>
#include <tyr/mek2/threads.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#if defined(__linux__)
#include <sys/resource.h>

#include <csignal>
#endif

#include <cerrno>
#include <cmath>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Tyr::Exception::InvalidArguments;
using Tyr::Exception::MiscelleneousException;

constexpr unsigned int rows = 300'000; // more than one part of the byte shuffle

/// 10.8 MB of arrays, in blocks of 4 MB: 31 chunks each.
SaverOptions optionsWith(const ParallelFor& parallelFor) {
    SaverOptions options{true};
    options.parallelFor = parallelFor;
    options.blockSize = 4'000'000;
    return options;
}

Array2d<float> smoothArray(int number) {
    Array2d<float> array(rows, 3);
    for (unsigned int i = 0; i < 3 * rows; ++i) {
        array.data()[i] = std::sin(1e-3F * static_cast<float>(number) * static_cast<float>(i));
    }
    return array;
}

/// @return number of calls that raised `std::runtime_error`
unsigned int addArrays(Model& model) {
    model.addNode(NodeType::RootGroup, "R");
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    unsigned int errors = 0;
    for (int number = 1; number <= 3; ++number) {
        try {
            model.addArrayProperty("smooth", DatasetType::ResultA3, smoothArray(number), id,
                                   Step{std::to_string(number)});
        } catch (const std::runtime_error&) {
            ++errors;
        }
    }
    return errors;
}

void runBackwards(std::size_t count, const std::function<void(std::size_t)>& task) {
    while (count != 0) {
        task(--count);
    }
}

class ParallelTest : public Testing::FolderTest {
protected:
    void write(const std::string& name, const SaverOptions& options) const {
        Model model;
        model.saveTo(path(name), options);
        EXPECT_EQ(addArrays(model), 0U);
        model.close();
    }

    std::uintmax_t size(const std::string& name) const {
        return std::filesystem::file_size(path(name));
    }
};

TEST_F(ParallelTest, BytesDoNotDependOnThreads) {
    write("serial", optionsWith({}));
    write("one", optionsWith(parallelForThreads(1)));
    const std::string expected = Testing::withoutDate(path("one"));
    EXPECT_TRUE(Testing::streamsOf(path("one")) == Testing::streamsOf(path("serial")));
    EXPECT_LE(static_cast<double>(size("one")), 1.002 * static_cast<double>(size("serial")));
    for (const ParallelFor& parallelFor :
         {parallelForThreads(2), parallelForThreads(5), ParallelFor(runBackwards)}) {
        write("several", optionsWith(parallelFor));
        EXPECT_TRUE(Testing::withoutDate(path("several")) == expected);
    }

    SaverOptions options = optionsWith(parallelForThreads(2));
    options.journal = true;
    Model model;
    model.saveTo(path("recorded"), options);
    EXPECT_EQ(addArrays(model), 0U);
    model.checkpoint();
    EXPECT_TRUE(recover(path("recorded"), path("recovered")).isComplete());
    model.close();
    EXPECT_TRUE(Testing::withoutDate(path("recovered")) == Testing::withoutDate(path("recorded")));
}

TEST_F(ParallelTest, LevelsAndBlockSizesAreThoseOfTheOptions) {
    std::vector<std::uintmax_t> sizes;
    for (const int level : {1, 6, 9}) {
        for (const ParallelFor& parallelFor : {ParallelFor(), parallelForThreads(2)}) {
            SaverOptions options = optionsWith(parallelFor);
            options.compressionLevel = level;
            write("file", options);
            sizes.push_back(size("file"));
        }
    }
    EXPECT_GT(sizes[0], sizes[2]);
    EXPECT_GT(sizes[1], sizes[3]);
    EXPECT_GE(sizes[3], sizes[5]);
    const MekReader::Container container(path("file"));
    EXPECT_GE(container.blocks()[0].rawLength, 4'000'000U);
    EXPECT_LT(container.blocks()[0].rawLength, 8'000'000U);

    for (const int level : {0, 10}) {
        SaverOptions options;
        options.compressionLevel = level;
        EXPECT_THROW(Model().saveTo(path("none"), options), InvalidArguments);
        EXPECT_FALSE(std::filesystem::exists(path("none")));
    }
}

TEST_F(ParallelTest, AnErrorOfTheApplicationLosesNothingThatWasAdded) {
    unsigned int call = 0;
    unsigned int failing = 0;
    const SaverOptions options = optionsWith([&](std::size_t count, const auto& task) {
        if (++call == failing) {
            task(0);
            throw std::runtime_error("of the application");
        }
        runBackwards(count, task);
    });
    write("file", options);
    const unsigned int calls = call;
    ASSERT_GT(calls, 6U);
    for (failing = 1; failing <= calls; ++failing) {
        call = 0;
        Model model;
        model.saveTo(path("file"), options);
        if (addArrays(model) == 0) { // the error is in `close`, which gives up
            EXPECT_THROW(model.close(), std::runtime_error);
            EXPECT_THROW(
                model.addArrayProperty("A", DatasetType::ResultA3, smoothArray(1), 2U, Step{}),
                Tyr::Exception::InvalidObjectState);
            EXPECT_EQ(call, failing); // a pool may have ended with the write cycle
            continue;
        }
        model.close();
        MekReader::check(path("file"));
        MekReader::File file(path("file"));
        EXPECT_GE(file.nodes().at(2).variables.size(), 2U) << failing;
        for (const MekReader::Variable& variable : file.nodes()[2].variables) {
            const Array2d<float> given = smoothArray(variable.name.back() - '0');
            EXPECT_TRUE(file.floats(variable) == std::vector<float>(given.begin(), given.end()));
        }
    }

    Model model;
    model.saveTo(path("file"), optionsWith([](std::size_t, const auto& task) { task(0); }));
    EXPECT_EQ(Testing::messageOf<MiscelleneousException>([&] { addArrays(model); }),
              "Not all tasks were run");
}

/// With more than 128 chunks, a task writes a part of them while others compress the next.
TEST_F(ParallelTest, AWriteThatFailsInATaskIsRepeated) {
    SaverOptions options = optionsWith([](std::size_t count, const auto& task) {
        std::thread([&] { parallelForThreads(4)(count, task); }).join();
    });
    options.blockSize = 30'000'000; // 229 chunks or more
    options.compressionLevel = 1;
    Array1d<float> array(10'000'000);
    std::iota(array.begin(), array.end(), 0.0F);
    Model model;
    model.saveTo(path("file"), options);
    model.addNode(NodeType::RootGroup, "R");
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    const auto add = [&](const std::string& step, const Array1d<float>& values) {
        model.addArrayProperty("A", DatasetType::ResultA1, values, id, Step{step});
    };
    add("0", {1}); // a block that begins with the large array is written by the next call
#if defined(__linux__)
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit low = {10'000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &low);
    errno = 0;
    EXPECT_THROW(add("1", array), Tyr::Exception::FileWriteException);
    EXPECT_EQ(errno, EFBIG); // of the thread of the task
    setrlimit(RLIMIT_FSIZE, &limit);
#endif
    add("2", array);
    model.close();
    MekReader::File file(path("file"));
    const MekReader::Variable& last = file.nodes().at(2).variables.back();
    EXPECT_TRUE(file.floats(last) == std::vector<float>(array.begin(), array.end()));
}

} // namespace
