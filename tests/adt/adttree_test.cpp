#include "tyr/adt/adttree.hpp"

#include "tyr/mek/group.hpp"
#include "tyr/mek/shape.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using TyrMek::Node;
using TyrMek::NodesWithSameName;
using TyrMek::VirtualNodesWithSameName;
using NodeTree = TyrAdt::Tree<Node*>;
using KeyNotFound = Tyr::Exception::KeyNotFound;

/// A tree and the payloads in it.
struct Fixture {
    template <class T>
    unsigned int add(unsigned int parentId, std::unique_ptr<T> node) {
        tree.currentId = parentId;
        tree.AddChild();
        tree.GetCurrentNode().value = node.get();
        nodes.push_back(std::move(node));
        return tree.currentId;
    }
    unsigned int addGroup(unsigned int parentId, const std::string& name) {
        return add(parentId, std::make_unique<TyrMek::Group>(name, TyrUtil::AttributeList()));
    }
    unsigned int addShape(unsigned int parentId, const std::string& name) {
        return add(parentId, std::make_unique<TyrMek::Shape>(name));
    }

    NodeTree tree;
    std::vector<std::unique_ptr<Node>> nodes;
};

TEST(AdtTree, StartsWithItsRoot) {
    NodeTree tree;
    EXPECT_EQ(tree.nodes.size(), 1U);
    EXPECT_EQ(tree.GetReqNode(1).value, nullptr);
    EXPECT_EQ(tree.GetCurrentNode().id, 1U);
    EXPECT_EQ(tree.nextId, 2U);
    tree.MoveToParent();
    EXPECT_EQ(tree.currentId, 1U);
}

TEST(AdtTree, LinksSiblingsBothWays) {
    NodeTree tree;
    for (int child = 0; child < 3; ++child) {
        tree.AddChild();
        tree.MoveToParent();
    }
    const auto links = [&](unsigned int id) {
        const auto& node = tree.GetReqNode(id);
        return std::vector<unsigned int>{node.id,
                                         node.parentId,
                                         node.previousSiblingId,
                                         node.nextSiblingId,
                                         node.firstChildId,
                                         node.lastChildId};
    };
    using Ids = std::vector<unsigned int>;
    EXPECT_EQ(links(1), (Ids{1, 0, 0, 0, 2, 4}));
    EXPECT_EQ(links(2), (Ids{2, 1, 0, 3, 0, 0}));
    EXPECT_EQ(links(3), (Ids{3, 1, 2, 4, 0, 0}));
    EXPECT_EQ(links(4), (Ids{4, 1, 3, 0, 0, 0}));

    tree.AddChild();
    tree.AddChild();
    EXPECT_EQ(links(6), (Ids{6, 5, 0, 0, 0, 0}));
}

TEST(AdtTree, ChangesNothingFromACursorOnNoNode) {
    NodeTree tree;
    EXPECT_THROW(tree.SetCurrentId(2), KeyNotFound);
    EXPECT_EQ(tree.currentId, 1U);
    tree.SetCurrentId(0);
    EXPECT_THROW(tree.GetCurrentNode(), KeyNotFound);
    EXPECT_THROW(tree.AddChild(), KeyNotFound);
    EXPECT_THROW(tree.MoveToParent(), KeyNotFound);
    EXPECT_THROW(tree.GetReqNode(2), KeyNotFound);
    EXPECT_EQ(tree.currentId, 0U);
    EXPECT_EQ(tree.nodes.size(), 1U);
    EXPECT_EQ(tree.nextId, 2U);
}

TEST(AdtTree, FindsTheFirstChildThatMatches) {
    Fixture fixture;
    NodeTree& tree = fixture.tree;
    const unsigned int shape = fixture.addShape(1, "n");
    const unsigned int group = fixture.addGroup(1, "n");
    fixture.addGroup(1, "n");
    const unsigned int below = fixture.addGroup(group, "below");
    TyrMek::Group likeGroup("n", {});
    Node bare("n");

    tree.currentId = 1;
    EXPECT_EQ(tree.FindChild(&likeGroup, NodesWithSameName()), group);
    EXPECT_EQ(tree.FindChild(&bare, VirtualNodesWithSameName()), shape);
    EXPECT_EQ(tree.FindChild(&bare, NodesWithSameName()), 0U);
    tree.MoveToChild(&likeGroup, NodesWithSameName());
    EXPECT_EQ(tree.currentId, group);

    Node pattern("below");
    EXPECT_EQ(tree.FindChild(&pattern, VirtualNodesWithSameName()), below);
    tree.currentId = shape; // the name exists, but under another parent
    EXPECT_THROW(tree.MoveToChild(&pattern, VirtualNodesWithSameName()), KeyNotFound);
    EXPECT_EQ(tree.currentId, shape);
}

TEST(AdtTree, PassesOverChildrenUntilTheyHaveAPayload) {
    Fixture fixture;
    NodeTree& tree = fixture.tree;
    tree.AddChild();
    tree.MoveToParent();
    const unsigned int second = fixture.addGroup(1, "n");
    Node pattern("n");
    tree.currentId = 1;
    EXPECT_EQ(tree.FindChild(&pattern, VirtualNodesWithSameName()), second);

    TyrMek::Group late("n", {});
    tree.nodes.at(2).value = &late;
    EXPECT_EQ(tree.FindChild(&pattern, VirtualNodesWithSameName()), 2U);
}

} // namespace
