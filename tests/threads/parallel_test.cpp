/// `SaverOptions::parallelFor`, `blockSize` and `compressionLevel`.
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/recovery.hpp>
#include <tyr/mek2/threads.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"
#include "tyr/qbf/chunkedcompressor.hpp"

#include <zlib.h>

#include <cerrno>
#include <cmath>
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
            const std::string header{'\x78', level == 1 ? '\x01' : level == 6 ? '\x9C' : '\xDA'};
            EXPECT_EQ(Testing::readFile(path("file")).substr(2804, 2), header) << level;
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

/// With 306 chunks, tasks pass two batches to the sink, here on another thread.
TEST(ChunkedCompressorTest, PassesChunksInOrderAndKeepsTheReasonOfAnError) {
    std::vector<unsigned char> content(40'000'000);
    for (std::size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<unsigned char>(i / 1000);
    }
    const TyrQbf::ChunkedCompressor compress(
        [](std::size_t count, const auto& task) {
            std::thread([&] { runBackwards(count, task); }).join();
        },
        1);
    std::vector<unsigned char> stream;
    const auto length = static_cast<std::uint32_t>(content.size());
    compress(content.data(), length, [&](const unsigned char* bytes, std::size_t count) {
        stream.insert(stream.end(), bytes, bytes + count);
    });
    std::vector<unsigned char> decompressed(content.size());
    uLongf size = length;
    EXPECT_EQ(
        uncompress(decompressed.data(), &size, stream.data(), static_cast<uLong>(stream.size())),
        Z_OK);
    EXPECT_TRUE(decompressed == content);

    unsigned int calls = 0;
    const auto fail = [&](const unsigned char*, std::size_t) {
        if (++calls == 200) {
            errno = ENOSPC;
            throw std::runtime_error("of the sink");
        }
    };
    errno = 0;
    EXPECT_THROW(compress(content.data(), length, fail), std::runtime_error);
    EXPECT_EQ(errno, ENOSPC);
}

} // namespace
