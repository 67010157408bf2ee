#include <tyr/mek2/model.hpp>

#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <fstream>
#include <string>

namespace {

using Testing::failureOf;
using Testing::readFile;

/// A small finished file, to be damaged.
class CheckTest : public Testing::FolderTest {
protected:
    CheckTest() {
        using namespace Tyr::Mek2;
        const Testing::BlockSizeVariable blockSize("20");
        Model model;
        model.saveTo(path("good"));
        const auto ids =
            model.addAssemblyComponents(std::vector<std::string>{"/r/a", "/r/b", "/r/g/"});
        model.addArrayProperty(DatasetType::NodeIds, Array1d<unsigned int>({1, 2, 3}), ids[0],
                               Step{});
        model.addArrayProperty(DatasetType::ElementIds, Array1d<unsigned int>({4, 5, 6}), ids,
                               Step{});
        model.close();
        good = readFile(path("good"));
    }

    std::string failureOfBytes(const std::string& bytes) {
        std::ofstream(path("bad"), std::ios::binary) << bytes;
        return failureOf<MekReader::Failure>([&] { MekReader::check(path("bad")); });
    }

    std::string good;
};

TEST_F(CheckTest, SaysWhatIsWrong) {
    struct Case {
        std::size_t position;
        const char* bytes;
        const char* failure;
    };
    constexpr std::size_t stored = 20 + 133;
    for (const Case& one :
         {Case{0, "X", "not a container: the signature is wrong"},
          Case{8, "2", "head: the format version is not 1.3"},
          Case{20, "\x07", "block 0 (\"Heavy Data\"): the id is 7"},
          Case{stored + 4, "\x02", "block 0 (\"Heavy Data\"): it has unknown flags"},
          Case{stored, "\xFF\xFF\xFF\x7F",
               "file is unfinished: block 0 (\"Heavy Data\") reaches behind the end of the file"},
          Case{2800, "\xFF\xFF\xFF\x7F",
               "block 0 (\"Heavy Data\"): it has less content than its length says"},
          Case{2804, "\x79", "block 0 (\"Heavy Data\"): incorrect header check"}}) {
        std::string bytes = good;
        bytes.replace(one.position, std::string(one.bytes).size(), one.bytes);
        EXPECT_EQ(failureOfBytes(bytes), one.failure);
    }
    EXPECT_EQ(failureOf<MekReader::Failure>([&] { MekReader::check(path("none")); }),
              "there is no such file");
}

} // namespace
