#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/everything.hpp"
#include "support/testing.hpp"

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Testing;

/// The block size variable, and the number of entries that it leads to.
using Blocks = std::pair<const char*, std::size_t>;

class EverythingTest : public FolderTest, public ::testing::WithParamInterface<Blocks> {
protected:
    static void checkTree(const MekReader::File& file) {
        const std::string longString(256, 's');
        const MekReader::AttributeList attributes = {{"unsigned", 4000000000U},
                                                     {"int", 4294967295U},
                                                     {"float", 1.5F},
                                                     {"a string with a long key", longString},
                                                     {"", "line\nend \xC3\xA9\x1A"}};
        EXPECT_TRUE(file.nodes()[0].group->attributes == attributes);
        EXPECT_EQ(file.nodes()[0].group->rootFlag, 1);
        ASSERT_EQ(file.nodes()[7].name, groupName);
        const MekReader::Group& group = *file.nodes()[7].group;
        EXPECT_EQ(group.translation, (std::array<float, 3>{0.1F, -2, 3e30F}));
        EXPECT_EQ(group.rotation, (std::array<float, 4>{0, 1, 0, 0.5F}));
        EXPECT_EQ(group.scale, (std::array<float, 3>{2, 2, 2}));
        ASSERT_EQ(file.nodes()[8].name, shapeName);
        const MekReader::Material& material = *file.nodes()[8].material;
        using Colors = std::vector<std::array<float, 4>>;
        EXPECT_EQ(
            (Colors{material.diffuseColor, material.emissiveColor, material.ambientColor,
                    material.specularColor}),
            (Colors{
                {0.2F, 0.4F, 0.6F, 1}, {0.1F, 0, 0, 1}, {0.1F, 0.2F, 0.3F, 0.5F}, {1, 2, 3, 1}}));
        EXPECT_EQ(material.transparency, 0.25F);
        EXPECT_EQ(material.shininess, 0.2F);
        EXPECT_FALSE(material.materialFlag);
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
