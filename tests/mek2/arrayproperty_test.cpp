#include "tyr/mek2/arrayproperty.hpp"

#include "mek2/modeltest.hpp"

#include <boost/exception/diagnostic_information.hpp>

namespace {

using namespace Tyr::Mek2;
using Testing::messageOf;
using Tyr::Exception::InvalidArguments;

/// Root r (1), shapes with the geometries 3 and 5.
class ArrayPropertyTest : public Testing::ModelTest {
protected:
    ArrayPropertyTest() {
        model.addNode(NodeType::Group, "r");
        first = model.addNode(NodeType::Shape, "a");
        model.setCurrentNodeId(1);
        second = model.addNode(NodeType::Shape, "b");
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

    unsigned int first = 0;
    unsigned int second = 0;
};

const Array1d<float> pair({1.0F, 2.0F});

TEST(ArrayProperty, HasWidthNameAndVariableTypeOfEachDatasetType) {
    using Property = ArrayProperty<ColumnData<float>>;
    std::string table;
    for (int number = 0; number < 31; ++number) {
        const auto type = DatasetType(number);
        std::string name = "-";
        const std::string error =
            messageOf<InvalidArguments>([&] { name = Property::nameFrom(type); });
        EXPECT_EQ(error, name == "-" ? "Can't guess result name for specified type" : "no error");
        table += name + ' ' + std::to_string(Property::widthFrom(type)) + ' ' +
                 std::to_string(Property::geomTypeFrom(type)) + '\n';
    }
    EXPECT_EQ(table,
              "Connectivity 1 4\nConnectivity 1 5\nConnectivity 1 6\n"
              "Polylength 1 9\nPolylength 1 9\nPolylength 1 9\n"
              "Part Elements 1 4\nPart Elements 1 5\nPart Elements 1 6\nCoordinates 3 1\n"
              "- 1 12\n- 3 13\n- 6 14\n- 6 15\n- 1 16\n- 3 17\n- 6 18\n- 6 19\n- 1 20\n- 3 21\n"
              "- 6 22\n- 6 23\n- 1 24\n- 1 25\n- 3 26\n- 6 27\n- 6 28\n"
              "Node Ids 1 12\nElement IDs 1 16\nDisplacement 3 13\nDisplacement 6 14\n");
    try {
        Property::geomTypeFrom(DatasetType(31));
        FAIL();
    } catch (const InvalidArguments& error) {
        EXPECT_STREQ(error.what(), "Can't guess result type for specified type");
        EXPECT_NE(boost::diagnostic_information(error).find(">::geomTypeFrom("), std::string::npos);
    }
}

TEST_F(ArrayPropertyTest, ChecksTypeAndShape) {
    const Array2d<float> table(4, 3, 1.0F);
    const Step step;
    const auto refusal = [&](const auto&... arguments) {
        return messageOf<InvalidArguments>(
            [&] { model.addArrayProperty(arguments..., first, step); });
    };
    EXPECT_EQ(refusal(DatasetType::Coordinates, pair), "Invalid arguments");
    EXPECT_EQ(refusal(DatasetType::Displacement6, table), "Invalid arguments");
    EXPECT_EQ(refusal(DatasetType::ResultA1, pair), "Can't guess result name for specified type");
    EXPECT_EQ(refusal("n", DatasetType(31), pair), "Can't guess result width for specified type");
    // empty arrays are accepted before the width is checked
    model.addArrayProperty(DatasetType::Coordinates, Array1d<float>(), first, step);
    model.addArrayProperty(DatasetType::Coordinates, pair, Array1d<unsigned int>(), step);

    EXPECT_EQ(closed().streamLength("Heavy Data"), 0U);
}

TEST_F(ArrayPropertyTest, OwnersAndLinksAreLaidOutByteForByte) {
    const Array2d<float> table(2, 3, 1.0F);
    model.addArrayProperty("B", DatasetType::Coordinates, table, first, Step{});
    model.addArrayProperty("C", DatasetType::Coordinates, table,
                           Array1d<unsigned int>({first, second}), Step{});
    MekReader::File file = closed();

    EXPECT_EQ(Testing::hex(file.container().stream("Light Data").substr(41)),
              "02 00 00 00 "
              "01 00 00 00 42 01 00 00 01 00 18 00 00 00 03 00 00 00 00 00 00 00 00 00 00 00 "
              "00 00 00 00 00 00 00 00 00 "
              "01 00 00 00 43 01 00 00 01 00 18 00 00 00 03 00 00 00 00 00 00 00 00 00 00 00 "
              "18 00 00 00 00 00 00 00 00 "
              "01 00 00 00 "
              "01 00 00 00 43 01 00 00 01 01 03 00 00 00 01 00 00 00 00");
    EXPECT_EQ(file.container().stream("Attributes"), std::string(96, '\0'));
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

    EXPECT_EQ(file.blocks().at(0).flags, 0x01);
    EXPECT_EQ(listed(file.nodes()[2]), "R\x1Es1@0 R\x1Es2->3:0 ");
    EXPECT_EQ(listed(file.nodes()[4]), "R\x1Es1->3:0 R\x1Es2->3:0 ");
    const MekReader::AttributeList& owned = file.nodes()[2].variables[0].attributes;
    EXPECT_EQ(owned.size(), 2U);
    EXPECT_EQ(std::get<std::string>(owned.at("A")), "call");
    EXPECT_EQ(std::get<std::string>(owned.at("B")), "step");
}

TEST_F(ArrayPropertyTest, KeepsVariablesBeforeAnError) {
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
    EXPECT_EQ(file.blocks().at(0).flags, 0x21); // since its second dataset
    EXPECT_EQ(listed(file.nodes()[2]), "Node Ids@8 ");
}

TEST_F(ArrayPropertyTest, ALinkStaysALinkUnlessItIsRelinked) {
    const Array1d<unsigned int> both({first, second});
    const Array1d<unsigned int> reversed({second, first});
    for (const bool relinkReplaced : {false, true}) {
        model.close();
        SaverOptions options;
        options.overwrite = true;
        options.relinkReplaced = relinkReplaced;
        model.saveTo(path("out"), options);
        model.addAssemblyComponents(std::vector<std::string>{"/r/a", "/r/b"});
        model.addArrayProperty("R", DatasetType::ResultA1, pair, both, Step{});
        model.addArrayProperty("R", DatasetType::ResultA1, Array1d<float>({3.0F}), reversed,
                               Step{});
        model.close();
        const MekReader::File file(path("out"));
        EXPECT_EQ(listed(file.nodes()[2]), "R->5:0 ");
        EXPECT_EQ(listed(file.nodes()[4]), relinkReplaced ? "R@8 " : "R->3:0 "); // a circle
    }
}

TEST_F(ArrayPropertyTest, AVariableWithANewArrayKeepsItsAttributes) {
    model.addArrayProperty("Q", DatasetType::ResultA1, Array1d<float>({4.0F}),
                           Array1d<unsigned int>({first, first}), StepList(2));
    Attributes attributes;
    attributes.set("a", 1U);
    attributes.set("b", 1U);
    model.addArrayProperty("S", DatasetType::ResultA1, pair, first, Step{}, attributes);
    Attributes others;
    others.set("b", 2U);
    model.addArrayProperty("S", DatasetType::ResultA1, Array1d<float>(3), first, Step{}, others);
    const MekReader::File file = closed();

    EXPECT_EQ(listed(file.nodes()[2]), "Q@0 S@12 ");
    EXPECT_EQ(file.nodes()[2].variables[1].rows(), 3U);
    EXPECT_EQ(file.nodes()[2].variables[1].attributes,
              (MekReader::AttributeList{{"a", 1U}, {"b", 2U}}));
}

TEST_F(ArrayPropertyTest, OmitsSomeKeysAndMarksVibrations) {
    Attributes attributes;
    for (const char* key : {"Complex", "Contents", "DataSource", "DataType", "Structure", "Link.",
                            "Link.x", "Link", "Category", "complex"}) {
        attributes.set(key, "Vibration");
    }
    model.addArrayProperty(DatasetType::NodeIds, pair, first, Step{}, attributes);
    attributes.set("Category", "vibration");
    model.addArrayProperty(DatasetType::ElementIds, pair, first, Step{}, attributes);
    attributes.set("Category", 1U);
    model.addArrayProperty("R", DatasetType::ResultA1, pair, first, Step{}, attributes);
    const MekReader::File file = closed();

    std::string found;
    for (const MekReader::Variable& variable : file.nodes()[2].variables) {
        for (const auto& attribute : variable.attributes) {
            found += attribute.first + ' ';
        }
        found += variable.vibration ? "vibration " : "";
    }
    EXPECT_EQ(found,
              "Category Link complex vibration Category Link complex Category Link complex ");
}

} // namespace
