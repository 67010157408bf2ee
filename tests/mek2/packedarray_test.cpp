/// Arrays that are compressed before they are added.
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/packedarray.hpp>
#include <tyr/mek2/recovery.hpp>
#include <tyr/mek2/threads.hpp>

#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Testing::messageOf;
using Tyr::Exception::InvalidArguments;
using Tyr::Exception::OverflowError;

/// Values of a random array, some of them noise.
template <class T>
std::vector<T> randomValues(std::mt19937& random, std::size_t count) {
    std::vector<T> values(count);
    const bool isNoise = random() % 2 == 0;
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = static_cast<T>(isNoise ? random() : i % 1000);
    }
    return values;
}

/// The rows in up to four parts, some of them empty, each after its way through a message.
template <class T>
PackedArray inParts(std::mt19937& random, const std::vector<T>& values, std::size_t width) {
    std::vector<PackedArray> parts;
    const std::size_t rows = values.size() / width;
    std::size_t first = 0;
    for (const std::size_t end : {rows / 2, rows / 2, rows - random() % 2, rows}) {
        const PackedArray part(values.data() + first * width, end - first, width,
                               static_cast<int>(1 + random() % 9), parallelForThreads(2));
        parts.push_back(PackedArray::fromBytes(part.toBytes()));
        first = end;
    }
    return PackedArray::concatenate(parts);
}

/// The bytes of an array in memory.
class MemorySource : public PackedSource {
public:
    explicit MemorySource(const PackedArray& whole) : array(whole) {}

    void load(PackedAssembly& assembly) override {
        std::copy_n(array.data(), array.size(), assembly.target(0, 0));
    }
    void read(const Sink& sink) override {
        sink(array.data(), array.size());
        if (fails) {
            throw std::runtime_error("no more bytes");
        }
    }

    const PackedArray& array;
    bool fails = false;
};

class PackedArrayTest : public Testing::FolderTest {
protected:
    /// Adds random arrays, all of them plain or a random half of them packed. An array from a
    /// source may fail before.
    template <class T>
    static void addArray(Model& model, std::mt19937& random, bool mayPack,
                         const Array1d<unsigned int>& ids) {
        static constexpr std::size_t widths[] = {1, 3, 6};
        static constexpr DatasetType types[] = {DatasetType::ResultA1, DatasetType::Coordinates,
                                                DatasetType::Displacement6};
        const std::size_t kind = random() % 3;
        const std::size_t rows = 1 + random() % 2000;
        const std::vector<T> values = randomValues<T>(random, rows * widths[kind]);
        const Step step{std::to_string(random() % 5)};
        const bool packs = random() % 2 == 0 && mayPack;
        std::mt19937 other = random;
        const auto add = [&](const auto& array) {
            model.addArrayProperty("r", types[kind], array, ids, step);
        };
        if (!packs) {
            add(Array2d<T>(rows, widths[kind], values));
            return;
        }
        const PackedArray whole = inParts(other, values, widths[kind]);
        const std::vector<PackedHead> heads{whole.head()};
        MemorySource source(whole);
        source.fails = other() % 2 == 0;
        try {
            add(PackedStream(heads, source));
        } catch (const std::runtime_error&) {
            add(whole);
        }
    }

    void write(const std::string& name, unsigned int seed, bool mayPack) const {
        std::mt19937 random(seed);
        SaverOptions options{true};
        options.journal = seed % 2 != 0;
        options.blockSize = std::vector<std::uint32_t>{1, 20'000, 100'000, 0}[seed % 4];
        Model model;
        model.saveTo(path(name), options);
        model.addNode(NodeType::RootGroup, "R");
        const unsigned int first = model.addNode(NodeType::Shape, "S");
        const unsigned int second = model.addNode(NodeType::Shape, "T");
        for (unsigned int count = 0; count < 20; ++count) {
            random() % 2 == 0 ? addArray<float>(model, random, mayPack, {first, second})
                              : addArray<unsigned int>(model, random, mayPack, {second});
            if (options.journal && random() % 5 == 0) {
                model.checkpoint();
            }
        }
        if (options.journal) {
            model.checkpoint();
            EXPECT_TRUE(recover(path(name), path("recovered"), true).isComplete());
        }
        model.close();
        if (options.journal) {
            EXPECT_TRUE(Testing::withoutDate(path("recovered")) ==
                        Testing::withoutDate(path(name)));
        }
    }
};

TEST_F(PackedArrayTest, HasTheContentOfThePlainArray) {
    for (unsigned int seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        write("plain", seed, false);
        write("packed", seed, true);
        MekReader::check(path("packed"));
        EXPECT_TRUE(Testing::streamsOf(path("packed")) == Testing::streamsOf(path("plain")));
    }
}

TEST_F(PackedArrayTest, NeedsEqualPartsOfAValidSize) {
    const float value = 1;
    const unsigned int number = 1;
    EXPECT_THROW(PackedArray(&value, 1, 7), InvalidArguments);
    EXPECT_THROW(PackedArray(&value, 1, 0), InvalidArguments);
    EXPECT_THROW(PackedArray(&value, 1, 1, 10), InvalidArguments);
    EXPECT_THROW(PackedArray(&value, 0x40000000, 1), OverflowError);
    const PackedArray floats(&value, 1, 1);
    const auto messageWith = [&](const PackedArray& part) {
        return messageOf<InvalidArguments>([&] { PackedArray::concatenate({{}, floats, part}); });
    };
    EXPECT_EQ(messageWith(PackedArray(&number, 1, 1)),
              "part 2 of an array differs in width or element type");
    EXPECT_EQ(messageWith(PackedArray(Array2d<float>(1, 3))),
              "part 2 of an array differs in width or element type");
    EXPECT_EQ(messageWith(PackedArray(Array2d<unsigned int>(0, 3))), "no error");
    PackedHead large = floats.head();
    large.rows = 0x3FFFFFFF;
    EXPECT_THROW(PackedAssembly({large, floats.head()}), OverflowError);
    const std::string bytes = floats.toBytes();
    for (const std::string& invalid : {std::string(), bytes + "x", "x" + bytes}) {
        EXPECT_EQ(messageOf<InvalidArguments>([&] { PackedArray::fromBytes(invalid); }),
                  "a packed array is invalid");
    }

    Model model;
    SaverOptions options;
    options.journal = true;
    model.saveTo(path("out"), options);
    const unsigned int id = model.addNode(NodeType::RootGroup, "R");
    EXPECT_THROW(model.addArrayProperty(DatasetType::Coordinates, floats, id, Step{}),
                 InvalidArguments);
    EXPECT_THROW(model.addArrayProperty("a", DatasetType::ResultA1, floats, 9U, Step{}),
                 Tyr::Exception::KeyNotFound);
    model.addArrayProperty(DatasetType::Coordinates, PackedArray(), id, Step{});
    model.close();
    EXPECT_EQ(MekReader::Container(path("out")).stream("Heavy Data").size(), 4U);
}

} // namespace
