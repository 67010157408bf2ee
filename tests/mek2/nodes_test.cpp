#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Testing::failureOf;
using Tyr::Exception::InvalidArguments;
using Tyr::Exception::OutOfBounds;
using Tyr::Exception::TemplateSpecializationNotDefined;
using Floats = std::vector<float>;
using Names = std::vector<std::string>;

/// A model in a write cycle, read back once it is closed.
class NodesTest : public Testing::FolderTest {
protected:
    NodesTest() { model.saveTo(path("out")); }

    MekReader::File closed() {
        model.close();
        MekReader::check(path("out"));
        return MekReader::File(path("out"));
    }

    Model model;
};

NodeProperties property(PropertyType type, const Floats& values) {
    NodeProperties properties;
    properties.set(type, values);
    return properties;
}

TEST_F(NodesTest, RootTakesFourTypes) {
    EXPECT_EQ(failureOf<InvalidArguments>([&] { model.addNode(NodeType(0), "r"); }),
              "Invalid node type for root node");
    EXPECT_EQ(failureOf<InvalidArguments>([&] { model.addNode(NodeType(5), "r"); }),
              "Invalid node type for root node");
    EXPECT_EQ(model.addNode(NodeType::FlaggedRootGroup, "r"), 1U);
    EXPECT_EQ(failureOf<InvalidArguments>([&] { model.addNode(NodeType::RootGroup, "x"); }),
              "Invalid node type");
    EXPECT_EQ(model.addNode(NodeType::Group, "g"), 2U);
    EXPECT_EQ(model.addNode(NodeType::Shape, "s"), 4U);
    EXPECT_EQ(model.addNode(NodeType::Group, "below a geometry"), 5U);
    const MekReader::File file = closed();
    EXPECT_EQ(file.nodes()[0].group->rootFlag, 1);
    EXPECT_EQ(file.nodes()[2].type, "Shape");
    EXPECT_EQ(file.nodes()[3].type, "Geometry");
    EXPECT_EQ(file.nodes()[3].parent, 3U);
    EXPECT_EQ(file.nodes()[4].parent, 4U);
}

TEST_F(NodesTest, RootShapeHasNoGeometry) {
    EXPECT_EQ(model.addNode(NodeType::Shape, "s"), 1U);
    model.setNodeData(1, property(PropertyType::DiffuseColor, {1, 0, 0}));
    EXPECT_EQ(model.addNode(NodeType::Group, "g"), 2U);
    EXPECT_EQ(closed().nodes()[0].material->diffuseColor[1], 0.0F);
}

TEST_F(NodesTest, CursorFollowsTheOperations) {
    model.addNode(NodeType::Group, "r");
    model.moveToParentNode();
    model.addNode(NodeType::Shape, "s"); // 2 and 3
    model.moveToParentNode();
    model.moveToParentNode();
    EXPECT_EQ(model.addNode(NodeType::Group, "s"), 4U);
    EXPECT_THROW(model.setCurrentNodeId(0), OutOfBounds);
    EXPECT_THROW(model.setCurrentNodeId(5), OutOfBounds);
    EXPECT_EQ(model.getNodeId("", "/"), 0U);
    EXPECT_EQ(model.getNodeId(Names{}), 0U);
    EXPECT_EQ(model.addNode(NodeType::Group, "4/5"), 5U); // still below 4
    EXPECT_EQ(model.getNodeId("/r/s"), 2U);
    EXPECT_EQ(model.addNode(NodeType::Group, "root's"), 6U);
    EXPECT_EQ(model.getNodeId(Names{"r", "s", "4/5"}), 0U); // the first s is the shape
    EXPECT_EQ(model.getNodeId(Names{"r", "s", "s"}), 3U);
    EXPECT_EQ(model.getNodeId(Names{"r"}), 1U);
    model.setNodeData(3, NodeProperties());
    EXPECT_EQ(model.addNode(NodeType::Group, "below the shape"), 7U);
    const MekReader::File file = closed();
    EXPECT_EQ(file.nodes()[3].parent, 1U);
    EXPECT_EQ(file.nodes()[4].parent, 4U);
    EXPECT_EQ(file.nodes()[5].parent, 1U);
    EXPECT_EQ(file.nodes()[6].parent, 2U);
}

TEST_F(NodesTest, FailedAddNodeChangesNothing) {
    Attributes refused;
    refused.set("k", std::vector<int>{1});
    EXPECT_THROW(model.addNode(NodeType::Group, "r", refused), InvalidArguments);
    model.addNode(NodeType::Group, "r");
    EXPECT_THROW(model.addNode(NodeType::Group, "g", refused), InvalidArguments);
    EXPECT_EQ(model.addNode(NodeType::Shape, "s", refused), 3U);
    EXPECT_EQ(closed().nodes()[1].parent, 1U);
}

TEST_F(NodesTest, SetsPlacementAndAttributesOfGroups) {
    Attributes given;
    given.set("kept", 1U);
    given.set("replaced", 2U);
    model.addNode(NodeType::Group, "r", given);
    NodeProperties properties = property(PropertyType::Translation, {1, 2, 3});
    properties.set(PropertyType::Rotation, Floats{4, 5, 6, 7});
    properties.set(PropertyType::Scale, Floats{8, 9, 10});
    Attributes more;
    more.set("replaced", "text");
    model.setNodeData(1, properties, more);
    EXPECT_EQ(failureOf<InvalidArguments>([&] {
                  properties.set(PropertyType::Translation, Floats{-1, -1, -1});
                  properties.set(PropertyType(11), 1);
                  model.setNodeData(1, properties);
              }),
              "Invalid properties");

    const MekReader::Node root = closed().nodes()[0];
    EXPECT_EQ(root.group->translation, (std::array<float, 3>{-1, -1, -1}));
    EXPECT_EQ(root.group->rotation, (std::array<float, 4>{4, 5, 6, 7}));
    EXPECT_EQ(root.group->scale, (std::array<float, 3>{8, 9, 10}));
    EXPECT_EQ(root.group->attributes.size(), 2U);
    EXPECT_EQ(std::get<std::string>(root.group->attributes.at("replaced")), "text");
}

TEST_F(NodesTest, SetsTheLookOfShapes) {
    model.addNode(NodeType::Group, "r");
    const unsigned int geometry = model.addNode(NodeType::Shape, "s");
    NodeProperties properties = property(PropertyType::DiffuseColor, {0.2F, 0.4F, 0.6F, 0.5F});
    properties.set(PropertyType::SpecularColor, Floats{1, 2, 3, 4});
    properties.set(PropertyType::EmissiveColor, Floats{5, 6, 7});
    properties.set(PropertyType::AmbientColor, Floats{8, 8, 8});
    properties.set(PropertyType::Transparency, 0.25F);
    properties.set(PropertyType::AmbientIntensity, 0.5F);
    properties.set(PropertyType::Shininess, 0.75F);
    properties.set(PropertyType::MaterialFlag, false);
    Attributes refused;
    refused.set("k", std::vector<int>{1});
    model.setNodeData(geometry, properties, refused);

    using Color = std::array<float, 4>;
    const MekReader::Material material = *closed().nodes()[1].material;
    EXPECT_EQ(material.diffuseColor, (Color{0.2F, 0.4F, 0.6F, 1}));
    EXPECT_EQ(material.specularColor, (Color{1, 2, 3, 1}));
    EXPECT_EQ(material.emissiveColor, (Color{5, 6, 7, 1}));
    EXPECT_EQ(material.ambientColor, (Color{0.1F, 0.2F, 0.3F, 0.5F}));
    EXPECT_EQ(material.transparency, 0.25F);
    EXPECT_EQ(material.shininess, 0.75F);
    EXPECT_FALSE(material.materialFlag);
}

TEST_F(NodesTest, RefusesPropertiesThatDoNotFit) {
    model.addNode(NodeType::Group, "r");
    const unsigned int geometry = model.addNode(NodeType::Shape, "s");
    const auto refusal = [&](unsigned int id, PropertyType type, const Floats& values) {
        return failureOf<InvalidArguments>([&] { model.setNodeData(id, property(type, values)); });
    };
    const Floats three(3);
    const Floats four(4);
    EXPECT_EQ(refusal(1, PropertyType::Translation, four), "invalid array size");
    EXPECT_EQ(refusal(1, PropertyType::Rotation, three), "invalid array size");
    EXPECT_EQ(refusal(1, PropertyType::Scale, four), "invalid array size");
    EXPECT_EQ(refusal(geometry, PropertyType::Translation, four), "Invalid property type");
    EXPECT_EQ(refusal(geometry, PropertyType::DiffuseColor, Floats(5)), "invalid array size");
    EXPECT_EQ(refusal(geometry, PropertyType::SpecularColor, Floats(2)), "invalid array size");
    EXPECT_EQ(refusal(geometry, PropertyType::EmissiveColor, four), "invalid array size");
    EXPECT_EQ(refusal(geometry, PropertyType::AmbientColor, four), "invalid array size");
    EXPECT_EQ(refusal(1, PropertyType::AmbientColor, three), "Invalid property type");
    EXPECT_EQ(refusal(1, PropertyType(-1), three), "Invalid properties");
    EXPECT_THROW(model.setNodeData(4, NodeProperties()), OutOfBounds);

    NodeProperties whole;
    whole.set(PropertyType::Shininess, 1);
    EXPECT_THROW(model.setNodeData(geometry, whole), TemplateSpecializationNotDefined);
    EXPECT_EQ(failureOf<InvalidArguments>([&] { model.setNodeData(1, whole); }),
              "Invalid property type"); // the node is looked at before the value
    NodeProperties single;
    single.set(PropertyType::Translation, 1.0F);
    EXPECT_THROW(model.setNodeData(1, single), TemplateSpecializationNotDefined);
}

} // namespace
