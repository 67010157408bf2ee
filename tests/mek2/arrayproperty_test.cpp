#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"
#include "tyr/mek2/arrayproperty.hpp"

#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Testing::failureOf;
using Tyr::Exception::InvalidArguments;

/// Root r (1), shapes with the geometries 3 and 5.
class ArrayPropertyTest : public Testing::FolderTest {
protected:
    ArrayPropertyTest() {
        model.saveTo(path("out"));
        model.addNode(NodeType::Group, "r");
        first = model.addNode(NodeType::Shape, "a");
        model.setCurrentNodeId(1);
        second = model.addNode(NodeType::Shape, "b");
    }

    MekReader::File closed() {
        model.close();
        MekReader::check(path("out"));
        return MekReader::File(path("out"));
    }

    static std::string listed(const MekReader::Node& node) {
        std::string names;
        for (const MekReader::Variable& variable : node.variables) {
            names += variable.name;
            names += variable.linked ? "->" + std::to_string(variable.linkedNodeId) + ":" +
                                           std::to_string(variable.linkedVariableIndex) + " "
                                     : "@" + std::to_string(variable.offset) + " ";
        }
        return names;
    }

    Model model;
    unsigned int first = 0;
    unsigned int second = 0;
};

const Array1d<float> pair({1.0F, 2.0F});

TEST(DatasetTable, FixesWidthNameAndVariableType) {
    // one row per dataset type, from 0
    const std::string rows[] = {
        "Connectivity 1 4",  "Connectivity 1 5",  "Connectivity 1 6", "Polylength 1 9",
        "Polylength 1 9",    "Polylength 1 9",    "Part Elements 1 4", "Part Elements 1 5",
        "Part Elements 1 6", "Coordinates 3 1",   "- 1 12",           "- 3 13",
        "- 6 14",            "- 6 15",            "- 1 16",           "- 3 17",
        "- 6 18",            "- 6 19",            "- 1 20",           "- 3 21",
        "- 6 22",            "- 6 23",            "- 1 24",           "- 1 25",
        "- 3 26",            "- 6 27",            "- 6 28",           "Node Ids 1 12",
        "Element IDs 1 16",  "Displacement 3 13", "Displacement 6 14"};
    using Property = ArrayProperty<ColumnData<float>>;
    int number = 0;
    for (const std::string& row : rows) {
        const auto type = DatasetType(number++);
        const std::string noName = "Can't guess result name for specified type";
        std::string name;
        const std::string failure =
            failureOf<InvalidArguments>([&] { name = Property::nameFrom(type); });
        EXPECT_EQ(failure == noName, name.empty());
        EXPECT_EQ((name.empty() ? "-" : name) + ' ' + std::to_string(Property::widthFrom(type)) +
                      ' ' + std::to_string(Property::geomTypeFrom(type)),
                  row);
    }
    EXPECT_EQ(failureOf<InvalidArguments>([] { Property::geomTypeFrom(DatasetType(31)); }),
              "Can't guess result type for specified type");
}

TEST_F(ArrayPropertyTest, ChecksTypeAndShape) {
    const Array2d<float> table(4, 3, 1.0F);
    const auto refusal = [&](auto action) { return failureOf<InvalidArguments>(action); };
    const Step step;
    EXPECT_EQ(refusal([&] { model.addArrayProperty(DatasetType::Coordinates, pair, first, step); }),
              "Invalid arguments");
    EXPECT_EQ(
        refusal([&] { model.addArrayProperty(DatasetType::Displacement6, table, first, step); }),
        "Invalid arguments");
    EXPECT_EQ(refusal([&] { model.addArrayProperty(DatasetType::ResultA1, pair, first, step); }),
              "Can't guess result name for specified type");
    EXPECT_EQ(refusal([&] { model.addArrayProperty("n", DatasetType(31), pair, first, step); }),
              "Can't guess result width for specified type");
    // nothing to write comes before the width check
    model.addArrayProperty(DatasetType::Coordinates, Array1d<float>(), first, step);
    model.addArrayProperty(DatasetType::Coordinates, pair, Array1d<unsigned int>(), step);

    EXPECT_EQ(closed().streamLength("Heavy Data"), 0U);
}

TEST_F(ArrayPropertyTest, FirstPairOwnsAndTheOthersLink) {
    StepList steps(2);
    Step step{"s1"};
    step.attributes.set("A", "step");
    step.attributes.set("B", "step");
    steps.set(0, step);
    steps.set(1, Step{"s2"});
    Attributes attributes;
    attributes.set("A", "call");
    model.addArrayProperty("R", DatasetType::ResultA1, pair,
                           Array1d<unsigned int>({1, 2, first, second}), steps, attributes);
    EXPECT_EQ(model.addNode(NodeType::Group, "g"), 6U);
    const MekReader::File file = closed();

    EXPECT_EQ(listed(file.nodes()[2]), "R\x1Es1@0 R\x1Es2->3:0 ");
    EXPECT_EQ(listed(file.nodes()[4]), "R\x1Es1->3:0 R\x1Es2->3:0 ");
    const MekReader::AttributeList& owned = file.nodes()[2].variables[0].attributes;
    EXPECT_EQ(owned.size(), 2U);
    EXPECT_EQ(std::get<std::string>(owned.at("A")), "call");
    EXPECT_EQ(std::get<std::string>(owned.at("B")), "step");
}

TEST_F(ArrayPropertyTest, KeepsWhatCameBeforeAFailure) {
    Attributes refused;
    refused.set("v", std::vector<float>{1});
    EXPECT_THROW(model.addArrayProperty(DatasetType::NodeIds, pair, first, Step{}, refused),
                 InvalidArguments);
    EXPECT_THROW(model.addArrayProperty(DatasetType::NodeIds, pair,
                                        Array1d<unsigned int>({first, 999}), Step{}),
                 Tyr::Exception::KeyNotFound);
    EXPECT_THROW(model.addNode(NodeType::Group, "g"), Tyr::Exception::KeyNotFound);
    model.addArrayProperty(DatasetType::NodeIds, pair, Array1d<unsigned int>({1, 2}), Step{});
    model.addArrayProperty(DatasetType::NodeIds, pair, first, StepList());
    const MekReader::File file = closed();

    EXPECT_EQ(file.streamLength("Heavy Data"), 32U);
    EXPECT_EQ(listed(file.nodes()[2]), "Node Ids@8 ");
}

/// Nobody can find data whose only variable is a link to itself or to a variable of before.
TEST_F(ArrayPropertyTest, NamesUsedAgainStillLeadToTheirData) {
    const Array1d<unsigned int> both({first, second});
    const Array1d<unsigned int> reversed({second, first});
    model.addArrayProperty("R", DatasetType::ResultA1, pair, both, Step{});
    model.addArrayProperty("R", DatasetType::ResultA1, Array1d<float>({3.0F}), reversed, Step{});
    model.addArrayProperty("Q", DatasetType::ResultA1, Array1d<float>({4.0F}),
                           Array1d<unsigned int>({first, first}), StepList(2));
    MekReader::File file = closed();

    EXPECT_EQ(listed(file.nodes()[2]), "R->5:0 Q@12 ");
    EXPECT_EQ(listed(file.nodes()[4]), "R@8 ");
    EXPECT_EQ(file.floats(file.nodes()[2].variables[0]), (std::vector<float>{3}));
}

TEST_F(ArrayPropertyTest, FlagsReachABlockWithTheSecondDataset) {
    model.addArrayProperty(DatasetType::NodeIds, pair, first, Step{});
    model.close();
    EXPECT_EQ(MekReader::File(path("out")).blocks().at(0).flags, 0x01);

    model.saveTo(path("two"));
    model.addAssemblyComponents(std::vector<std::string>{"/r/s"});
    model.addArrayProperty(DatasetType::NodeIds, pair, 3U, Step{});
    model.addArrayProperty(DatasetType::ElementIds, pair, 3U, Step{});
    model.close();
    EXPECT_EQ(MekReader::File(path("two")).blocks().at(0).flags, 0x21);
}

} // namespace
