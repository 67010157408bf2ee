#include "mek2/modeltest.hpp"

#include <iterator>
#include <tuple>
#include <utility>

namespace {

using namespace Tyr::Mek2;
using Testing::hex;
using Testing::messageOf;
using Tyr::Exception::InvalidArguments;
using Tyr::Exception::OutOfBounds;
using Tyr::Exception::TemplateSpecializationNotDefined;
using Floats = std::vector<float>;
using Ids = std::vector<unsigned int>;
using Names = std::vector<std::string>;

using NodesTest = Testing::ModelTest;

NodeProperties property(PropertyType type, const Floats& values) {
    NodeProperties properties;
    properties.set(type, values);
    return properties;
}

TEST_F(NodesTest, RootAcceptsFourTypes) {
    for (const NodeType type : {NodeType(0), NodeType(5)}) {
        EXPECT_EQ(messageOf<InvalidArguments>([&] { model.addNode(type, "r"); }),
                  "Invalid node type for root node");
    }
    EXPECT_EQ(model.addNode(NodeType::Shape, "r"), 1U); // without a geometry
    EXPECT_EQ(messageOf<InvalidArguments>([&] { model.addNode(NodeType::RootGroup, "x"); }),
              "Invalid node type");
    model.setNodeData(1, property(PropertyType::DiffuseColor, {1, 0, 0}));
    EXPECT_EQ(model.addNode(NodeType::Group, "g"), 2U);
    EXPECT_EQ(model.addNode(NodeType::Shape, "s"), 4U);
    EXPECT_EQ(model.addNode(NodeType::Group, "below a geometry"), 5U);
    const MekReader::File file = closed();
    EXPECT_EQ(file.nodes()[0].material->diffuseColor[1], 0.0F);
    EXPECT_EQ(file.nodes()[4].parent, 4U);
}

TEST_F(NodesTest, TreeIsLaidOutByteForByte) {
    model.addNode(NodeType::RootGroup, "R");
    model.addNode(NodeType::Shape, "S");
    model.close();
    MekReader::Container container(path("out"));
    const std::pair<const char*, std::size_t> lengths[] = {
        {"Mek Tree", 166}, {"Light Data", 45}, {"Attributes", 24}, {"Resources", 84}};
    for (std::size_t number = 0; number < std::size(lengths); ++number) {
        EXPECT_EQ(container.blocks()[number].name, lengths[number].first);
        EXPECT_EQ(container.blocks()[number].rawLength, lengths[number].second);
        EXPECT_EQ(container.blocks()[number].flags, 1);
    }
    EXPECT_EQ(container.blocks()[4].name, "Global Information");
    EXPECT_TRUE(container.blocks()[5].isEmpty());
    EXPECT_EQ(hex(container.stream("Mek Tree").substr(57, 53)),
              "02 00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 03 00 00 00 03 00 00 00 "
              "01 00 00 00 53 05 00 00 00 53 68 61 70 65 03 00 00 00 30 2E 32 "
              "29 00 00 00 00 00 00 00");
    EXPECT_EQ(hex(container.stream("Light Data")),
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 80 3F 00 00 00 00 "
              "00 00 80 3F 00 00 80 3F 00 00 80 3F 00 00 00 00 00");
    EXPECT_EQ(container.stream("Attributes"), std::string(24, '\0'));
}

TEST_F(NodesTest, FindsTheFirstOfManyChildren) {
    model.addNode(NodeType::RootGroup, "r");
    const auto addChild = [&](NodeType type, const std::string& name) {
        model.setCurrentNodeId(1);
        return model.addNode(type, name);
    };
    for (int i = 0; i < 50; ++i) {
        addChild(NodeType::Group, std::to_string(i));
    }
    const unsigned int geometry = addChild(NodeType::Shape, "s");
    addChild(NodeType::Group, "s");
    EXPECT_EQ(model.getNodeId("/r/s"), geometry - 1);
    EXPECT_EQ(model.getNodeId("/r/s/s"), geometry);
    EXPECT_EQ(model.getNodeId("/r/49"), 51U);
    EXPECT_EQ(model.getNodeId("/r/50"), 0U);
    EXPECT_EQ(addChild(NodeType::Group, "50"), geometry + 2);
    EXPECT_EQ(model.getNodeId("/r/50"), geometry + 2);
    // paths distinguish a group from a shape of the same name
    const auto ids = model.addAssemblyComponents({"/r/s", "/r/s/"});
    EXPECT_EQ(ids[0], geometry);
    EXPECT_EQ(ids[1], geometry + 1);
    EXPECT_EQ(closed().nodes().size(), 55U);
}

TEST_F(NodesTest, OperationsMoveTheCurrentNode) {
    model.addNode(NodeType::Group, "r");
    model.moveToParentNode();
    model.addNode(NodeType::Shape, "s"); // 2 and 3
    model.moveToParentNode();
    model.moveToParentNode();
    EXPECT_EQ(model.addNode(NodeType::Group, "s"), 4U);
    EXPECT_THROW(model.setCurrentNodeId(0), OutOfBounds);
    EXPECT_THROW(model.setCurrentNodeId(5), OutOfBounds);
    EXPECT_EQ(model.getNodeId({}), 0U);
    EXPECT_EQ(model.addNode(NodeType::Group, "4/5"), 5U); // still below 4
    EXPECT_EQ(model.getNodeId({"r", "s"}), 2U);
    EXPECT_EQ(model.addNode(NodeType::Group, "root's"), 6U);
    EXPECT_EQ(model.getNodeId({"r", "s", "4/5"}), 0U); // the first s is the shape
    EXPECT_EQ(model.getNodeId({"r", std::string("s"), "s"}), 3U);
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

TEST_F(NodesTest, KeepsPropertiesBeforeAnError) {
    Attributes given;
    given.set("kept", 1U);
    given.set("replaced", 2U);
    model.addNode(NodeType::Group, "r", given);
    Attributes more;
    more.set("replaced", "text");
    model.setNodeData(1, NodeProperties(), more);
    NodeProperties properties = property(PropertyType::Translation, {-1, -1, -1});
    properties.set(PropertyType(11), 1);
    EXPECT_EQ(messageOf<InvalidArguments>([&] { model.setNodeData(1, properties); }),
              "Invalid properties");

    const MekReader::Group root = *closed().nodes()[0].group;
    EXPECT_EQ(root.translation, (std::array<float, 3>{-1, -1, -1}));
    EXPECT_EQ(root.attributes.size(), 2U);
    EXPECT_EQ(std::get<std::string>(root.attributes.at("replaced")), "text");
}

TEST_F(NodesTest, RefusesInvalidProperties) {
    model.addNode(NodeType::Group, "r");
    const unsigned int geometry = model.addNode(NodeType::Shape, "s");
    using Case = std::tuple<unsigned int, PropertyType, std::size_t, const char*>;
    for (const auto& [id, type, size, message] :
         {Case{1, PropertyType::Translation, 4, "invalid array size"},
          {1, PropertyType::Rotation, 3, "invalid array size"},
          {1, PropertyType::Scale, 4, "invalid array size"},
          {geometry, PropertyType::Translation, 4, "Invalid property type"},
          {geometry, PropertyType::DiffuseColor, 5, "invalid array size"},
          {geometry, PropertyType::SpecularColor, 2, "invalid array size"},
          {geometry, PropertyType::EmissiveColor, 4, "invalid array size"},
          {geometry, PropertyType::AmbientColor, 4, "invalid array size"},
          {1, PropertyType::AmbientColor, 3, "Invalid property type"},
          {1, PropertyType(-1), 3, "Invalid properties"}}) {
        const NodeProperties properties = property(type, Floats(size));
        const unsigned int node = id;
        EXPECT_EQ(messageOf<InvalidArguments>([&] { model.setNodeData(node, properties); }),
                  message);
    }
    EXPECT_THROW(model.setNodeData(4, NodeProperties()), OutOfBounds);

    NodeProperties whole;
    whole.set(PropertyType::Shininess, 1);
    EXPECT_THROW(model.setNodeData(geometry, whole), TemplateSpecializationNotDefined);
    EXPECT_EQ(messageOf<InvalidArguments>([&] { model.setNodeData(1, whole); }),
              "Invalid property type"); // the node is checked before the value
    NodeProperties single;
    single.set(PropertyType::Translation, 1.0F);
    EXPECT_THROW(model.setNodeData(1, single), TemplateSpecializationNotDefined);
}

class ComponentsTest : public Testing::ModelTest {
protected:
    static Ids list(const Array1d<unsigned int>& ids) { return Ids(ids.begin(), ids.end()); }
    Ids add(const Names& paths, const std::string& separator = "/") {
        return list(model.addAssemblyComponents(paths, separator));
    }
};

TEST_F(ComponentsTest, BuildsAndReusesBranches) {
    EXPECT_EQ(add({"/r/p/s", "/r/p/g/"}), (Ids{4, 5}));
    EXPECT_EQ(model.addNode(NodeType::Group, "below g"), 6U);
    EXPECT_EQ(add({"", "/r/p/s", "///", "/r//p/s", "/r/p/g/below g/"}), (Ids{0, 4, 0, 4, 6}));
    EXPECT_EQ(add({"/r/p/s/t"}), (Ids{9})); // a group s next to the shape s
    EXPECT_EQ(add({"/r", "/r/"}), (Ids{1, 1}));
    EXPECT_EQ(model.addNode(NodeType::Group, "below r"), 10U);
    EXPECT_EQ(add({"", "/"}), (Ids{0, 0})); // the current node does not change
    EXPECT_EQ(model.addNode(NodeType::Group, "below below r"), 11U);
    const MekReader::File file = closed();
    EXPECT_EQ(file.nodes()[6].type, "Group");
    EXPECT_EQ(file.nodes()[6].parent, 2U);
    EXPECT_EQ(file.nodes()[9].parent, 1U);
    EXPECT_EQ(file.nodes()[10].parent, 10U);
}

TEST_F(ComponentsTest, SplitsAtEveryByteOfTheSeparator) {
    EXPECT_EQ(add({"::r::a:b::"}, "::"), (Ids{3}));
    EXPECT_EQ(add({"::r:a:b:"}, "::"), (Ids{5})); // does not end in the separator: a shape
}

TEST_F(ComponentsTest, KeepsNodesBeforeAnError) {
    const Names halfRelative = {"/r/a/", "r/b/"};
    EXPECT_EQ(messageOf<InvalidArguments>([&] { add(halfRelative); }),
              "Relative paths not supported");
    EXPECT_THROW(add({"/r/b/", "/q/c/"}), Tyr::Exception::NotYetImplemented);
    EXPECT_EQ(model.getNodeId("/r/a"), 2U);
    EXPECT_EQ(model.getNodeId("/r/b"), 3U);
}

TEST_F(ComponentsTest, SetsAttributesOfTheLastGroups) {
    Attributes first;
    first.set("a", 1U);
    first.set("b", 1U);
    Attributes second;
    second.set("b", 2U);
    Attributes refused;
    refused.set("v", std::vector<float>{1});
    using Map = std::map<std::string, Attributes>;

    // in the order of the paths: "/r/", "/r/p/g/", "/r/p/s"
    const Map paths = {{"/r/p/s", refused}, {"/r/p/g/", first}, {"/r/", second}};
    EXPECT_EQ(list(model.addAssemblyComponents(paths)), (Ids{1, 3, 5}));
    model.addAssemblyComponents({{"/r/p/g/", second}});
    EXPECT_THROW(model.addAssemblyComponents({{"/r/p/", refused}}, "/"), InvalidArguments);
    const MekReader::File file = closed();
    EXPECT_EQ(std::get<std::uint32_t>(file.nodes()[2].group->attributes.at("a")), 1U);
    EXPECT_EQ(std::get<std::uint32_t>(file.nodes()[2].group->attributes.at("b")), 2U);
    EXPECT_TRUE(file.nodes()[1].group->attributes.empty());
}

TEST_F(ComponentsTest, AddsBelowARootOfAddNode) {
    model.addNode(NodeType::Shape, "r");
    EXPECT_EQ(add({"/r/", "/r/s"}), (Ids{1, 3}));
}

} // namespace
