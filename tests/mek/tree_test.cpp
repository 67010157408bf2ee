#include "tyr/mek/tree.hpp"

#include "mekreader/container.hpp"
#include "support/testing.hpp"
#include "tyr/mek/byteshuffle.hpp"

#include <string>
#include <vector>

namespace {

using Testing::hex;
using TyrMek::Tree;
using TreeTest = Testing::FolderTest;

TEST(BytePlanes, SplitsItemsIntoComponentsAndTheseIntoBytes) {
    const std::vector<unsigned int> values = {0x04030201, 0x14131211, 0x24232221, 0x34333231};
    std::string planes(16, '?');
    auto* const target = reinterpret_cast<unsigned char*>(planes.data());
    TyrMek::ShuffleBytes(values.data(), 2, 2, target);
    EXPECT_EQ(hex(planes), "01 21 02 22 03 23 04 24 11 31 12 32 13 33 14 34");
    TyrMek::ShuffleBytes(values.data(), 4, 1, target);
    EXPECT_EQ(hex(planes), "01 11 21 31 02 12 22 32 03 13 23 33 04 14 24 34");
}

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
    list.values["d"] = AttributeValue::Of(2.0);
    list.values["c"] = AttributeValue::Of(std::string("x\0y", 3)); // ends at its first NUL
    list.values["b"] = AttributeValue::Of(1.0F);
    list.values["a"] = AttributeValue::Of(5U);
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

    struct Case {
        const char* path;
        const char* separator;
        unsigned int id;
    };
    for (const Case& one :
         {Case{"/r", "/", 1}, Case{"/r/g", "/", 2}, Case{"/r/g/s", "/", 3},
          Case{"/r/g/s/s", "/", 4}, Case{"/r/g/x", "/", 0}, Case{"/x/g", "/", 0}, Case{"/", "/", 0},
          Case{"r/g", "/", 0}, Case{"/r/", "/", 5}, Case{"/r/g/", "/", 0}, Case{"::r::g", "::", 2},
          Case{"::r:", "::", 0}, Case{"::r::g:s", "::", 0}, Case{"/rXg", "/", 2}, Case{"rg", "", 0},
          Case{"r", "", 1}}) {
        tree.currentId = 4;
        EXPECT_EQ(tree.GetNodeIdFromPath(one.path, one.separator), one.id) << one.path;
        EXPECT_EQ(tree.currentId, 1U) << one.path;
    }
}

} // namespace
