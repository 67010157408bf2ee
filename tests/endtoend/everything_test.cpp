#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using MekReader::Variable;

/// Values whose bits tell dataset, row and column.
template <class T>
T valueAt(unsigned int dataset, std::size_t row, std::size_t column) {
    return static_cast<T>(1000 * dataset + 10 * row + column);
}

template <class T>
Array2d<T> table(unsigned int dataset, std::size_t rows, std::size_t columns) {
    Array2d<T> values(rows, columns);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            values(row, column) = valueAt<T>(dataset, row, column);
        }
    }
    return values;
}

std::string bits(float value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return Testing::hex(bytes);
}

/// Writes one model with everything in it, and reads it back. The parameter is the value of the
/// block size variable, or null.
class EverythingTest : public Testing::FolderTest, public ::testing::WithParamInterface<const char*> {
protected:
    static constexpr unsigned int resultSteps = 260;

    void write() {
        const Testing::BlockSizeVariable blockSize(GetParam());
        Model model;
        SaverOptions options;
        options.toolName = "everything";
        options.toolVersion = "1.0";
        model.saveTo(path("out"), options);
        addTree(model);
        addArrays(model);
        model.close();
    }

    void addTree(Model& model) {
        Attributes attributes;
        attributes.set("unsigned", 4000000000U);
        attributes.set("int", -1);
        attributes.set("float", 1.5F);
        attributes.set("text", std::string(300, 't'));
        attributes.set("", "empty key");
        model.addNode(NodeType::FlaggedRootGroup, "root", attributes);
        const auto ids = model.addAssemblyComponents(
            std::vector<std::string>{"/root/part/", "/root/part/body", "/root/part/skin"});
        part = ids[0];
        body = ids[1];
        skin = ids[2];
        NodeProperties placement;
        placement.set(PropertyType::Translation, std::vector<float>{1, 2, 3});
        placement.set(PropertyType::Rotation, std::vector<float>{0, 1, 0, 0.5F});
        placement.set(PropertyType::Scale, std::vector<float>{2, 2, 2});
        model.setNodeData(part, placement);
        NodeProperties look;
        look.set(PropertyType::DiffuseColor, std::vector<float>{0.2F, 0.4F, 0.6F});
        look.set(PropertyType::EmissiveColor, std::vector<float>{0.1F, 0, 0});
        look.set(PropertyType::Transparency, 0.25F);
        look.set(PropertyType::AmbientIntensity, 0.5F);
        look.set(PropertyType::MaterialFlag, false);
        model.setNodeData(body, look);
    }

    void addArrays(Model& model) {
        const Array1d<unsigned int> both({body, skin});
        model.addArrayProperty(DatasetType::Coordinates, table<float>(1, 100, 3), both, Step{});
        model.addArrayProperty(DatasetType::Connectivity2, table<unsigned int>(2, 80, 1), body,
                               Step{});
        const float nan = std::numeric_limits<float>::quiet_NaN();
        model.addArrayProperty("extremes", DatasetType::ResultA1,
                               Array1d<float>({nan, -0.0F, std::numeric_limits<float>::max()}),
                               skin, Step{});
        for (unsigned int number = 0; number < resultSteps; ++number) {
            Step step{std::to_string(number)};
            step.attributes.set("Step", number);
            step.attributes.set("Category", "Vibration");
            model.addArrayProperty("stress", DatasetType::ResultA6, table<float>(3 + number, 5, 6),
                                   both, step);
        }
    }

    static void checkTree(const MekReader::File& file) {
        const MekReader::AttributeList& attributes = file.nodes()[0].group->attributes;
        EXPECT_EQ(attributes.size(), 5U);
        EXPECT_EQ(std::get<std::uint32_t>(attributes.at("unsigned")), 4000000000U);
        EXPECT_EQ(std::get<std::uint32_t>(attributes.at("int")), 4294967295U);
        EXPECT_EQ(std::get<float>(attributes.at("float")), 1.5F);
        EXPECT_EQ(std::get<std::string>(attributes.at("text")), std::string(256, 't'));
        EXPECT_EQ(std::get<std::string>(attributes.at("")), "empty key");
        EXPECT_EQ(file.nodes()[0].group->rootFlag, 1);
        const MekReader::Group& placed = *file.nodes()[1].group;
        EXPECT_EQ(placed.translation, (std::array<float, 3>{1, 2, 3}));
        EXPECT_EQ(placed.rotation, (std::array<float, 4>{0, 1, 0, 0.5F}));
        EXPECT_EQ(placed.scale, (std::array<float, 3>{2, 2, 2}));
        const MekReader::Material& look = *file.nodes()[2].material;
        EXPECT_EQ(look.diffuseColor, (std::array<float, 4>{0.2F, 0.4F, 0.6F, 1}));
        EXPECT_EQ(look.emissiveColor, (std::array<float, 4>{0.1F, 0, 0, 1}));
        EXPECT_EQ(look.ambientColor, (std::array<float, 4>{0.1F, 0.2F, 0.3F, 0.5F}));
        EXPECT_EQ(look.specularColor, (std::array<float, 4>{0, 0, 0, 1}));
        EXPECT_EQ(look.transparency, 0.25F);
        EXPECT_EQ(look.shininess, 0.2F);
        EXPECT_FALSE(look.materialFlag);
        EXPECT_TRUE(file.nodes()[4].material->materialFlag);
    }

    template <class T>
    static void checkTable(const std::vector<T>& values, unsigned int dataset, std::size_t rows,
                           std::size_t columns) {
        ASSERT_EQ(values.size(), rows * columns);
        for (std::size_t row = 0; row < rows; ++row) {
            for (std::size_t column = 0; column < columns; ++column) {
                ASSERT_EQ(values[row * columns + column], valueAt<T>(dataset, row, column));
            }
        }
    }

    void checkArrays(MekReader::File& file) const {
        const std::vector<Variable>& variables = file.nodes().at(body - 1).variables;
        const std::vector<Variable>& links = file.nodes().at(skin - 1).variables;
        ASSERT_EQ(variables.size(), 2 + resultSteps);
        ASSERT_EQ(links.size(), 2 + resultSteps);
        checkTable(file.floats(variables[0]), 1, 100, 3);
        checkTable(file.words(variables[1]), 2, 80, 1);
        EXPECT_TRUE(links[0].linked);
        checkTable(file.floats(links[0]), 1, 100, 3);
        const std::vector<float> extremes = file.floats(links[1]);
        EXPECT_TRUE(std::isnan(extremes.at(0)));
        EXPECT_EQ(bits(extremes.at(1)), "00 00 00 80");
        EXPECT_EQ(extremes.at(2), std::numeric_limits<float>::max());
        for (unsigned int number = 0; number < resultSteps; ++number) {
            const Variable& owner = variables[2 + number];
            const Variable& link = links[2 + number];
            EXPECT_EQ(owner.name, "stress\x1E" + std::to_string(number));
            EXPECT_EQ(link.name, owner.name);
            EXPECT_EQ(std::get<std::uint32_t>(owner.attributes.at("Step")), number);
            EXPECT_TRUE(owner.vibration);
            EXPECT_TRUE(link.linked);
            EXPECT_EQ(&file.owner(link), &owner);
            checkTable(file.floats(link), 3 + number, 5, 6);
        }
    }

    unsigned int part = 0;
    unsigned int body = 0;
    unsigned int skin = 0;
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
