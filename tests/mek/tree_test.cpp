#include "tyr/mek/tree.hpp"

#include "mekreader/container.hpp"
#include "support/testing.hpp"
#include "tyr/mek/geometry.hpp"

#include <cstdlib>
#include <functional>
#include <string>
#include <tuple>
#include <utility>

namespace {

using Testing::hex;
using TyrMek::Geometry;
using TyrMek::Tree;
using VariableType = Geometry::VariableType;
using TreeTest = Testing::FolderTest;

TEST_F(TreeTest, RefusesDatasetsOfImpossibleSize) {
    const float value = 1;
    Tree tree;
    tree.SetStreamFile(path("out"), false);
    EXPECT_THROW(tree.WriteStreamDataset(&value, 0x7FFFFFFF, 3), Tyr::Exception::OverflowError);
    EXPECT_THROW(tree.WriteStreamDataset(&value, -1, 1), Tyr::Exception::UnderflowError);
    EXPECT_EQ(tree.WriteStreamDataset(&value, 0, 1), 0U);
}

TEST_F(TreeTest, AttributesAreSplitByKind) {
    using TyrUtil::AttributeValue;
    TyrUtil::AttributeList list;
    list.values.Set("d", AttributeValue::Of(2.0));
    list.values.Set("c", AttributeValue::Of(std::string("x\0y", 3))); // ends at its first NUL
    list.values.Set("b", AttributeValue::Of(1.0F));
    list.values.Set("a", AttributeValue::Of(5U));
    Tree tree;
    tree.SetStreamFile(path("out"), false);
    tree.SetRootGroup("r", list);
    tree.Save(tree.file, "");

    EXPECT_EQ(hex(MekReader::Container(path("out")).stream("Attributes")),
              "04 00 00 00 01 00 00 00 61 01 00 00 00 62 01 00 00 00 63 01 00 00 00 64 "
              "04 00 00 00 00 01 02 03 01 00 00 00 05 00 00 00 01 00 00 00 00 00 80 3F "
              "01 00 00 00 00 00 00 00 00 00 00 40 01 00 00 00 01 00 00 00 78");
}

TEST_F(TreeTest, ResolvesPaths) {
    Tree tree;
    EXPECT_EQ(tree.GetNodeIdFromPath("/r", "/"), 0U); // no root yet
    tree.SetRootGroup("r", {});
    tree.AddGroupNode("g"); // 2
    tree.AddShapeNode("s"); // 3 and 4
    tree.currentId = 1;
    tree.AddGroupNode(""); // 5

    using Case = std::tuple<const char*, const char*, unsigned int>;
    for (const auto& [path, separator, id] :
         {Case{"/r", "/", 1}, Case{"/r/g", "/", 2}, Case{"/r/g/s", "/", 3},
          Case{"/r/g/s/s", "/", 4}, Case{"/r/g/x", "/", 0}, Case{"/x/g", "/", 0}, Case{"/", "/", 0},
          Case{"r/g", "/", 0}, Case{"/r/", "/", 5}, Case{"/r/g/", "/", 0}, Case{"::r::g", "::", 2},
          Case{"::r:", "::", 0}, Case{"::r::g:s", "::", 0}, Case{"/rXg", "/", 2}, Case{"rg", "", 0},
          Case{"r", "", 1}}) {
        tree.currentId = 4;
        EXPECT_EQ(tree.GetNodeIdFromPath(path, separator), id) << path;
        EXPECT_EQ(tree.currentId, 1U) << path;
    }
}

/// Each `Put` opens a block at the limit 0, so the names of the blocks give the order of the puts.
TEST_F(TreeTest, PutsAttributesBetweenAndAfterTheRecordsTheyBelongTo) {
    const Testing::BlockSizeVariable limit("0");
    Tree tree;
    tree.SetStreamFile(path("out"), false);
    tree.SetRootGroup("r", {});
    tree.AddShapeNode("s");
    dynamic_cast<Geometry&>(*std::as_const(tree).GetCurrentNode().value)
        .AddVariable("v", VariableType(), 0, {}, {});
    tree.Save(tree.file, "");

    const MekReader::Container container(path("out"));
    std::string order;
    for (const MekReader::Block& block : container.blocks()) {
        const char initial = block.name[0];
        if (initial == 'L' || initial == 'A') {
            order += initial;
        }
    }
    EXPECT_EQ(order, "LLLAAAAAALLLLLLLLLLLLLLAAAAAA"); // group, count of variables, variable
}

TEST(Tree, SeedsTheGeneratorOfTheProcess) {
    std::srand(0);
    const int first = std::rand();
    std::srand(1);
    const Tree tree;
    EXPECT_EQ(std::rand(), first);
}

/// Also after other code changed `variables` or `offsets`, the first variable of a name is found.
TEST(Geometry, SeesChangesOfItsMembers) {
    using Change = void (*)(Geometry&);
    const std::pair<Change, std::string> changes[] = {
        {[](Geometry&) {}, "a b c x "},
        {[](Geometry& g) { g.variables.clear(); }, "x "},
        {[](Geometry& g) { g.variables.erase(g.variables.begin()); }, "b c x "},
        {[](Geometry& g) { g.variables[1].name = "x"; }, "a x c "},
        {[](Geometry& g) { g.variables.insert(g.variables.begin(), g.variables[2]); },
         "c a b c x "},
        {[](Geometry& g) { g.offsets.erase("c"); }, "a b c x "},
        {[](Geometry& g) { g.offsets["x"] = 24; }, "a b c x "},
        {[](Geometry& g) {
             g.offsets = {{"a", 1}, {"y", 2}, {"z", 3}};
         },
         "a b c x "},
        {[](Geometry& g) { g.offsets.clear(); }, "a b c x "}};
    for (const auto& [change, expected] : changes) {
        Geometry geometry("g");
        const auto add = [&](const std::string& name) {
            return geometry.AddVariable(name, VariableType(), 7, {}, {});
        };
        for (const char* name : {"a", "b", "c"}) {
            add(name);
        }
        change(geometry);
        for (const char* name : {"x", "x"}) { // known the second time
            const unsigned int index = add(name);
            EXPECT_EQ(std::as_const(geometry).variables[index].name, name);
            EXPECT_EQ(geometry.offsets.at(name), 7U);
        }
        std::string names;
        for (const Geometry::Variable& variable : geometry.variables) {
            names += variable.name + ' ';
        }
        EXPECT_EQ(names, expected);
    }
}

template <class T>
unsigned int idOfGreaterChild(const T& least, const T& greatest) {
    TyrAdt::Tree<T> tree;
    for (const T& value : {least, least, greatest}) {
        tree.AddChild();
        tree.GetCurrentNode().value = value;
        tree.MoveToParent();
    }
    tree.MoveToChild(least, std::greater<>());
    return tree.currentId;
}

TEST(Tree, FindsNodesByAnyPredicateAndAfterChangesOfMembers) {
    EXPECT_EQ(idOfGreaterChild<std::string>("m", "n"), 4U);
    EXPECT_EQ(idOfGreaterChild(1, 2), 4U);

    Tree tree;
    tree.SetRootGroup("r", {});
    for (int number = 0; number < 40; ++number) {
        tree.currentId = 1;
        tree.AddGroupNode("g" + std::to_string(number));
    }
    EXPECT_EQ(tree.GetNodeIdFromPath("/r/g30", "/"), 32U);
    tree.currentId = 32;
    delete tree.GetCurrentNode().value;
    tree.GetCurrentNode().value = new TyrMek::Node("other");
    EXPECT_EQ(tree.GetNodeIdFromPath("/r/g30", "/"), 0U);
    EXPECT_EQ(tree.GetNodeIdFromPath("/r/other", "/"), 32U);
}

} // namespace
