#include <tyr/mek2/model.hpp>

#include "mekinfo/print.hpp"
#include "mekreader/model.hpp"
#include "support/everything.hpp"
#include "support/testing.hpp"

#include <sstream>
#include <string>
#include <utility>

namespace {

using namespace Testing;

/// The block size variable, and the number of entries that it leads to.
using Blocks = std::pair<const char*, std::size_t>;

class EverythingTest : public FolderTest, public ::testing::WithParamInterface<Blocks> {
protected:
    static void checkTree(MekReader::File& file) {
        std::ostringstream stream;
        MekInfo::print(stream, file);
        const std::string listing = stream.str();
        EXPECT_NE(listing.find("scale 1 1 1  root flag\n"), std::string::npos);
        EXPECT_EQ(listing.substr(listing.rfind("8 Group")),
                  "8 Group \"a group with a long name\"\n"
                  "      translation 0.1 -2 3e+30  rotation 0 1 0 0.5  scale 2 2 2\n"
                  "      \"\" = \"line\\x0Aend \xC3\xA9\\x1A\"\n"
                  "      \"a string with a long key\" = \"" +
                      std::string(256, 's') +
                      "\"\n      \"float\" = 1.5f\n      \"int\" = 4294967295\n"
                      "      \"unsigned\" = 4000000000\n"
                      "    9 Shape \"a shape with a long name\"\n"
                      "      diffuse 0.2 0.4 0.6 1  specular 1 2 3 1\n"
                      "      emissive 0.1 0 0 1  ambient 0.1 0.2 0.3 0.5\n"
                      "      transparency 0.25  shininess 0.2  flag off\n"
                      "      10 Geometry \"a shape with a long name\"\n");
    }

    static void checkArrays(MekReader::File& file) {
        const auto& owners = file.nodes().at(3).variables; // of the body
        const auto& links = file.nodes().at(5).variables;  // of the skin
        ASSERT_EQ(owners.size(), 4 + Everything::allResults);
        ASSERT_EQ(links.size(), 3 + Everything::allResults);
        EXPECT_EQ(file.floats(links[0]), valuesOf<float>(1, 100, 3));
        EXPECT_EQ(file.words(owners[1]), valuesOf<unsigned int>(2, 80, 1));
        EXPECT_EQ(file.words(links[2]), specialFloats);
        for (unsigned int number = 0; number < Everything::allResults; ++number) {
            const MekReader::Variable& owner = owners[4 + number];
            const MekReader::Variable& link = links[3 + number];
            EXPECT_EQ(owner.name, resultName + "\x1Estep of the number " + std::to_string(number));
            EXPECT_EQ(link.name, owner.name);
            EXPECT_EQ(std::get<std::uint32_t>(owner.attributes.at("Step")), number);
            EXPECT_TRUE(owner.vibration);
            EXPECT_EQ(&file.owner(link), &owner);
            ASSERT_EQ(file.floats(link), valuesOf<float>(3 + number, 10, 6));
        }
    }
};

TEST_P(EverythingTest, IsReadBackAndPrintsNothing) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    const BlockSizeVariable blockSize(GetParam().first);
    Model model;
    model.saveTo(path("out"), SaverOptions{false, "everything", "1.0"});
    Everything().addTo(model);
    model.close();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

    MekReader::check(path("out"));
    MekReader::File file(path("out"));
    EXPECT_EQ(file.blocks().size(), GetParam().second);
    EXPECT_EQ(file.modifiers().at(0).toolName, "everything");
    EXPECT_EQ(file.modifiers()[0].toolVersion, "1.0");
    checkTree(file);
    checkArrays(file);
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, EverythingTest,
                         ::testing::Values(Blocks{"0", 8420}, Blocks{"1000", 220},
                                           Blocks{nullptr, 20}),
                         [](const auto& blocks) {
                             return "Makes" + std::to_string(blocks.param.second) + "Blocks";
                         });

} // namespace
