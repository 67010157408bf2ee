#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <map>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Testing::failureOf;
using Ids = std::vector<unsigned int>;
using Paths = std::vector<std::string>;

class ComponentsTest : public Testing::FolderTest {
protected:
    ComponentsTest() { model.saveTo(path("out")); }

    static Ids list(const Array1d<unsigned int>& ids) {
        Ids copy;
        for (std::size_t i = 0; i < ids.size(); ++i) {
            copy.push_back(ids[i]);
        }
        return copy;
    }
    Ids add(const Paths& paths, const std::string& separator = "/") {
        return list(model.addAssemblyComponents(paths, separator));
    }

    Model model;
};

TEST_F(ComponentsTest, BuildsAndReusesBranches) {
    EXPECT_EQ(add({"/r/p/s", "/r/p/g/"}), (Ids{4, 5}));
    EXPECT_EQ(model.addNode(NodeType::Group, "below g"), 6U);
    EXPECT_EQ(add({"", "/r/p/s", "///", "/r//p/s", "/r/p/g/below g/"}), (Ids{0, 4, 0, 4, 6}));
    EXPECT_EQ(add({"/r/p/s/t"}), (Ids{9})); // a group s beside the shape s
    EXPECT_EQ(add({"/r", "/r/"}), (Ids{1, 1}));
    EXPECT_EQ(model.addNode(NodeType::Group, "below r"), 10U);
    EXPECT_EQ(add({"", "/"}), (Ids{0, 0})); // the cursor does not move
    EXPECT_EQ(model.addNode(NodeType::Group, "below below r"), 11U);
    model.close();
    const MekReader::File file(path("out"));
    EXPECT_EQ(file.nodes()[6].type, "Group");
    EXPECT_EQ(file.nodes()[6].parent, 2U);
    EXPECT_EQ(file.nodes()[9].parent, 1U);
    EXPECT_EQ(file.nodes()[10].parent, 10U);
}

TEST_F(ComponentsTest, CutsAtEveryCharacterOfTheSeparator) {
    EXPECT_EQ(add({"::r::a:b::"}, "::"), (Ids{3}));
    EXPECT_EQ(add({"::r:a:b:"}, "::"), (Ids{5})); // does not end in the separator: a shape
}

TEST_F(ComponentsTest, KeepsWhatCameBeforeAFailure) {
    EXPECT_EQ(failureOf<Tyr::Exception::InvalidArguments>([&] { add({"/r/a/", "r/b/"}); }),
              "Relative paths not supported");
    EXPECT_THROW(add({"/r/b/", "/q/c/"}), Tyr::Exception::NotYetImplemented);
    EXPECT_EQ(model.getNodeId("/r/a"), 2U);
    EXPECT_EQ(model.getNodeId("/r/b"), 3U);
}

TEST_F(ComponentsTest, GivesAttributesToTheGroupsAtTheEnds) {
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
    model.addAssemblyComponents(Map{{"/r/p/g/", second}});
    EXPECT_THROW(model.addAssemblyComponents(Map{{"/r/p/", refused}}),
                 Tyr::Exception::InvalidArguments);
    model.close();
    const MekReader::File file(path("out"));
    EXPECT_EQ(std::get<std::uint32_t>(file.nodes()[2].group->attributes.at("a")), 1U);
    EXPECT_EQ(std::get<std::uint32_t>(file.nodes()[2].group->attributes.at("b")), 2U);
    EXPECT_TRUE(file.nodes()[1].group->attributes.empty());
}

TEST_F(ComponentsTest, AddsBelowARootOfAddNode) {
    model.addNode(NodeType::Shape, "r");
    EXPECT_EQ(add({"/r/", "/r/s"}), (Ids{1, 3}));
}

} // namespace
