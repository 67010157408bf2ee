#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <fstream>
#include <functional>
#include <string>
#include <utility>

namespace {

using namespace Tyr::Mek2;
using Testing::messageOf;
using Testing::readFile;
using Tyr::Exception::FileOpenException;
using Tyr::Exception::InvalidObjectState;
using LifecycleTest = Testing::FolderTest;

const Array1d<float> oneValue({1.0F});

TEST_F(LifecycleTest, GuardsEveryOperationWithoutWriteCycle) {
    Model model;
    model.close();
    model.close();
    const std::pair<std::function<void()>, const char*> refused[] = {
        {[&] { model.addNode(NodeType::Group, "g"); }, "File not open."},
        {[&] { model.setNodeData(1, NodeProperties()); }, "File not open."},
        {[&] { model.addAssemblyComponents(std::vector<std::string>{""}); }, "File not open."},
        {[&] { model.addArrayProperty(DatasetType::NodeIds, oneValue, 1U, Step{}); },
         "File not open."},
        {[&] { model.setCurrentNodeId(1); }, "Not initialized"},
        {[&] { model.moveToParentNode(); }, "Not initialized"},
        {[&] { model.getNodeId("", "/"); }, "Not initialized"}};
    for (const auto& [operation, message] : refused) {
        EXPECT_EQ(messageOf<InvalidObjectState>(operation), message);
    }
    EXPECT_EQ(model.addAssemblyComponents(std::vector<std::string>()).size(), 0U);
}

TEST_F(LifecycleTest, ReplacesAFileOnlyWithOverwrite) {
    std::ofstream(path("out")) << "content";
    Model model;
    EXPECT_EQ(messageOf<FileOpenException>([&] { model.saveTo(path("out")); }), "File exists.");
    EXPECT_EQ(messageOf<InvalidObjectState>([&] { model.saveTo(path("other")); }), "Not Empty");
    EXPECT_EQ(model.addNode(NodeType::Group, "r"), 1U);
    EXPECT_EQ(messageOf<InvalidObjectState>(
                  [&] { model.addArrayProperty(DatasetType::NodeIds, oneValue, 1U, Step{}); }),
              "File not open.");
    model.addArrayProperty(DatasetType::NodeIds, Array1d<float>(), 1U, Step{});
    model.close();
    EXPECT_EQ(readFile(path("out")), "content");

    model.saveTo(path("out"), SaverOptions{true});
    EXPECT_EQ(readFile(path("out")), "");
    model.close();
    EXPECT_NO_THROW(MekReader::check(path("out")));
}

TEST_F(LifecycleTest, AFileWithoutNodesHasAnEmptyRoot) {
    Model model;
    const SaverOptions versionWithoutName{false, "", "1.0"};
    model.saveTo(folder.wstring() + L"/out", versionWithoutName);
    model.close();

    const MekReader::File file(path("out"));
    ASSERT_EQ(file.nodes().size(), 1U);
    EXPECT_EQ(file.nodes()[0].type, "");
    EXPECT_EQ(file.streamLength("Mek Tree"), 48U);
    EXPECT_EQ(file.modifiers().at(0).formatVersion, "1.3");
    EXPECT_EQ(file.modifiers()[0].toolVersion, "");
    EXPECT_GT(file.modifiers()[0].date.size(), 20U);
    model.saveTo(""); // writes nothing
    EXPECT_EQ(model.addNode(NodeType::Shape, "s"), 1U);
    model.close();
    EXPECT_EQ(names(), "out ");
}

/// The form of a path that no system limits to 260 characters.
std::filesystem::path unlimited(const std::filesystem::path& path) {
#if defined(_WIN32)
    return L"\\\\?\\" + path.wstring();
#else
    return path;
#endif
}

TEST_F(LifecycleTest, PathsMayBeLongerThan260Characters) {
    const std::filesystem::path deep =
        unlimited(folder) / std::string(100, 'a') / std::string(100, 'b') / std::string(100, 'c');
    std::filesystem::create_directories(deep);
    const std::filesystem::path file = deep / "out";
    Model model;
    model.saveTo(file.wstring());
    model.close();

    EXPECT_EQ(MekReader::File(file).nodes().size(), 1U);
    EXPECT_EQ(messageOf<FileOpenException>([&] { model.saveTo(file.wstring()); }), "File exists.");
    for (auto made = file; made.filename() != folder.filename(); made = made.parent_path()) {
        EXPECT_TRUE(std::filesystem::remove(made)); // remove_all changes the form of the path
    }
}

TEST_F(LifecycleTest, DestructionAndMovesFinishTheFile) {
    {
        Model model;
        model.saveTo(path("first"));
        model.addNode(NodeType::Group, "r");
        Model taken(std::move(model));
        EXPECT_EQ(taken.addNode(NodeType::Group, "g"), 2U);
        // NOLINTNEXTLINE(bugprone-use-after-move): it is as if default-constructed
        model.saveTo(path("second"));
        model = std::move(taken); // ends the cycle on the second file
        EXPECT_EQ(MekReader::File(path("second")).nodes().size(), 1U);
        EXPECT_EQ(model.addNode(NodeType::Group, "h"), 3U);
    }
    EXPECT_EQ(MekReader::File(path("first")).nodes().size(), 3U);
}

} // namespace
