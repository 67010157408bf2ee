#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/everything.hpp"
#include "support/testing.hpp"

#include <map>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using MekReader::Variable;

/// Writes one model with everything in it, and reads it back. The parameter is the value of the
/// block size variable, or null.
class EverythingTest : public Testing::FolderTest,
                       public ::testing::WithParamInterface<const char*> {
protected:
    static constexpr unsigned int resultSteps = Testing::Everything::resultSteps;

    void write() {
        const Testing::BlockSizeVariable blockSize(GetParam());
        Model model;
        SaverOptions options;
        options.toolName = "everything";
        options.toolVersion = "1.0";
        model.saveTo(path("out"), options);
        everything.addTo(model);
        model.close();
    }

    static void checkTree(const MekReader::File& file) {
        const MekReader::AttributeList& attributes = file.nodes()[0].group->attributes;
        EXPECT_EQ(attributes.size(), 5U);
        EXPECT_EQ(std::get<std::uint32_t>(attributes.at("unsigned")), 4000000000U);
        EXPECT_EQ(std::get<std::uint32_t>(attributes.at("int")), 4294967295U);
        EXPECT_EQ(std::get<float>(attributes.at("float")), 1.5F);
        EXPECT_EQ(std::get<std::string>(attributes.at("text")), std::string(256, 't'));
        EXPECT_EQ(std::get<std::string>(attributes.at("")), "line\nend \xC3\xA9\x1A");
        EXPECT_EQ(file.nodes()[0].group->rootFlag, 1);
        const MekReader::Group& placed = *file.nodes()[1].group;
        EXPECT_EQ(placed.translation, (std::array<float, 3>{0.1F, -2, 3e30F}));
        EXPECT_EQ(placed.rotation, (std::array<float, 4>{0, 1, 0, 0.5F}));
        EXPECT_EQ(placed.scale, (std::array<float, 3>{2, 2, 2}));
        const MekReader::Material& look = *file.nodes()[2].material;
        EXPECT_EQ(look.diffuseColor, (std::array<float, 4>{0.2F, 0.4F, 0.6F, 1}));
        EXPECT_EQ(look.emissiveColor, (std::array<float, 4>{0.1F, 0, 0, 1}));
        EXPECT_EQ(look.ambientColor, (std::array<float, 4>{0.1F, 0.2F, 0.3F, 0.5F}));
        EXPECT_EQ(look.specularColor, (std::array<float, 4>{1, 2, 3, 1}));
        EXPECT_EQ(look.transparency, 0.25F);
        EXPECT_EQ(look.shininess, 0.2F);
        EXPECT_FALSE(look.materialFlag);
    }

    template <class T>
    static void checkTable(const std::vector<T>& values, unsigned int dataset, std::size_t rows,
                           std::size_t columns) {
        ASSERT_EQ(values, Testing::valuesOf<T>(dataset, rows, columns));
    }

    void checkArrays(MekReader::File& file) const {
        const std::vector<Variable>& variables = file.nodes().at(everything.body - 1).variables;
        const std::vector<Variable>& links = file.nodes().at(everything.skin - 1).variables;
        ASSERT_EQ(variables.size(), 2 + resultSteps);
        ASSERT_EQ(links.size(), 2 + resultSteps);
        checkTable(file.floats(variables[0]), 1, 100, 3);
        checkTable(file.words(variables[1]), 2, 80, 1);
        checkTable(file.floats(links[0]), 1, 100, 3);
        EXPECT_EQ(file.words(links[1]), Testing::specialFloats);
        for (unsigned int number = 0; number < resultSteps; ++number) {
            const Variable& owner = variables[2 + number];
            const Variable& link = links[2 + number];
            EXPECT_EQ(owner.name, "stress\x1E" + std::to_string(number));
            EXPECT_EQ(link.name, owner.name);
            EXPECT_EQ(std::get<std::uint32_t>(owner.attributes.at("Step")), number);
            EXPECT_TRUE(owner.vibration);
            EXPECT_EQ(&file.owner(link), &owner);
            checkTable(file.floats(link), 3 + number, 5, 6);
        }
    }

    Testing::Everything everything;
};

TEST_P(EverythingTest, EveryValueIsReadBackAndNothingIsPrinted) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    write();
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

    MekReader::check(path("out"));
    MekReader::File file(path("out"));
    const std::map<std::string, std::uint64_t> blockCounts = {
        {"0", 8420}, {"1000", 220}, {"", 20}}; // free ones included
    EXPECT_EQ(file.blocks().size(), blockCounts.at(GetParam() != nullptr ? GetParam() : ""));
    EXPECT_EQ(file.modifiers().at(0).toolName, "everything");
    checkTree(file);
    checkArrays(file);
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, EverythingTest, ::testing::Values("0", "1000", nullptr),
                         [](const auto& block) {
                             return block.param != nullptr ? "Of" + std::string(block.param)
                                                           : std::string("Default");
                         });

} // namespace
