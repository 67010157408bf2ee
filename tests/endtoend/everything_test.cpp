#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/everything.hpp"
#include "support/testing.hpp"

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Testing;
using MekReader::Variable;

/// The value of the block size variable, or null, and how many blocks this makes, free ones
/// included.
using Blocks = std::pair<const char*, std::size_t>;

/// Writes one model with everything in it, and reads it back.
class EverythingTest : public FolderTest, public ::testing::WithParamInterface<Blocks> {
protected:
    void write() {
        const BlockSizeVariable blockSize(GetParam().first);
        Model model;
        model.saveTo(path("out"), SaverOptions{false, "everything", "1.0"});
        Everything().addTo(model);
        model.close();
    }

    static void checkTree(const MekReader::File& file) {
        const MekReader::AttributeList& attributes = file.nodes()[0].group->attributes;
        EXPECT_EQ(attributes.size(), 5U);
        EXPECT_EQ(std::get<std::uint32_t>(attributes.at("unsigned")), 4000000000U);
        EXPECT_EQ(std::get<std::uint32_t>(attributes.at("int")), 4294967295U);
        EXPECT_EQ(std::get<float>(attributes.at("float")), 1.5F);
        EXPECT_EQ(std::get<std::string>(attributes.at("a text with a long key")),
                  std::string(256, 't'));
        EXPECT_EQ(std::get<std::string>(attributes.at("")), "line\nend \xC3\xA9\x1A");
        EXPECT_EQ(file.nodes()[0].group->rootFlag, 1);
        ASSERT_EQ(file.nodes()[7].name, groupName);
        const MekReader::Group& placed = *file.nodes()[7].group;
        EXPECT_EQ(placed.translation, (std::array<float, 3>{0.1F, -2, 3e30F}));
        EXPECT_EQ(placed.rotation, (std::array<float, 4>{0, 1, 0, 0.5F}));
        EXPECT_EQ(placed.scale, (std::array<float, 3>{2, 2, 2}));
        ASSERT_EQ(file.nodes()[8].name, shapeName);
        const MekReader::Material& look = *file.nodes()[8].material;
        EXPECT_EQ(look.diffuseColor, (std::array<float, 4>{0.2F, 0.4F, 0.6F, 1}));
        EXPECT_EQ(look.emissiveColor, (std::array<float, 4>{0.1F, 0, 0, 1}));
        EXPECT_EQ(look.ambientColor, (std::array<float, 4>{0.1F, 0.2F, 0.3F, 0.5F}));
        EXPECT_EQ(look.specularColor, (std::array<float, 4>{1, 2, 3, 1}));
        EXPECT_EQ(look.transparency, 0.25F);
        EXPECT_EQ(look.shininess, 0.2F);
        EXPECT_FALSE(look.materialFlag);
    }

    static void checkArrays(MekReader::File& file) {
        const std::vector<Variable>& owners = file.nodes().at(3).variables; // of the body
        const std::vector<Variable>& links = file.nodes().at(5).variables;  // of the skin
        ASSERT_EQ(owners.size(), 4 + Everything::allResults);
        ASSERT_EQ(links.size(), 3 + Everything::allResults);
        EXPECT_EQ(file.floats(links[0]), valuesOf<float>(1, 100, 3));
        EXPECT_EQ(file.words(owners[1]), valuesOf<unsigned int>(2, 80, 1));
        EXPECT_EQ(file.words(links[2]), specialFloats);
        for (unsigned int number = 0; number < Everything::allResults; ++number) {
            const Variable& owner = owners[4 + number];
            const Variable& link = links[3 + number];
            EXPECT_EQ(owner.name, resultName + "\x1Estep of the number " + std::to_string(number));
            EXPECT_EQ(link.name, owner.name);
            EXPECT_EQ(std::get<std::uint32_t>(owner.attributes.at("Step")), number);
            EXPECT_TRUE(owner.vibration);
            EXPECT_EQ(&file.owner(link), &owner);
            ASSERT_EQ(file.floats(link), valuesOf<float>(3 + number, 10, 6));
        }
    }
};

TEST_P(EverythingTest, EveryValueIsReadBackAndNothingIsPrinted) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    write();
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
