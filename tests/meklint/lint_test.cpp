#include "meklint/lint.hpp"

#include <tyr/mek2/model.hpp>

#include "support/testing.hpp"

#include <initializer_list>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;

class LintTest : public Testing::FolderTest {
protected:
    using Rows = std::initializer_list<unsigned int>;

    LintTest() {
        model.saveTo(path("a.mek"));
        group = model.addNode(NodeType::RootGroup, "R");
    }

    /// The geometry of a shape with four nodes and, if `type` is given, two elements.
    unsigned int shape(const std::string& name) {
        model.setCurrentNodeId(group);
        const unsigned int id = model.addNode(NodeType::Shape, name);
        add(DatasetType::Coordinates, Array2d<float>(4, 3), id);
        return id;
    }

    unsigned int shape(const std::string& name, DatasetType type, Rows connectivity, Rows lengths) {
        const unsigned int id = shape(name);
        add(type, Array1d<unsigned int>(connectivity), id);
        add(DatasetType::Polylength2, Array1d<unsigned int>(lengths), id);
        return id;
    }

    template <class Array>
    void add(DatasetType type, const Array& array, unsigned int id) {
        model.addArrayProperty(type, array, id, Step{});
    }

    template <class Ids>
    void addResult(DatasetType type, const std::string& name, int rows, const Ids& ids,
                   const Step& step = {}) {
        model.addArrayProperty(name, type, Array1d<float>(static_cast<std::size_t>(rows)), ids,
                               step);
    }

    std::vector<std::string> findings() {
        model.close();
        MekReader::check(path("a.mek"));
        MekReader::File file(path("a.mek"));
        std::vector<std::string> lines;
        MekLint::lint(file, [&](const MekLint::Finding& finding) {
            lines.push_back(MekLint::toLine(finding));
        });
        return lines;
    }

    static Step timed(const std::string& name, float time) {
        Step step{name};
        step.attributes.set("Time", time);
        return step;
    }

    Model model;
    unsigned int group = 0;
};

const std::string noVariable =
    " of \"Heavy Data\": no variable uses these bytes; their array was replaced, was given to the "
    "id of a group or shape, or its call failed";

constexpr auto solid = DatasetType::Connectivity2;
constexpr auto ofNodes = DatasetType::ResultA1;
constexpr auto ofElements = DatasetType::ResultB1;

TEST_F(LintTest, FindsNothingInValidMeshes) {
    const unsigned int points = shape("points");
    addResult(ofElements, "E", 4, points); // without connectivity each node is an element
    const unsigned int named = shape("TE4 (2)");
    add(solid, Array1d<unsigned int>({0, 1, 2, 3}), named);
    addResult(ofElements, "E", 1, named);
    const unsigned int remeshed = shape("S", solid, {0, 1, 2, 3}, {4});
    model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(5, 3), remeshed, Step{"b"});
    addResult(ofNodes, "T", 4, remeshed, timed("a", 1));
    addResult(ofNodes, "T", 5, remeshed, timed("b", 2));
    addResult(ofNodes, "\"U\"", 4, Array1d<unsigned int>({remeshed, named}), timed("a", 1));
    EXPECT_EQ(findings(), std::vector<std::string>{});
}

TEST_F(LintTest, FindsInvalidMeshes) {
    add(DatasetType::Coordinates, Array2d<unsigned int>(4, 3), shape("A"));
    shape("B", solid, {0, 1, 4, 3}, {4});
    shape("C", solid, {0, 1, 2, 3, 0}, {4});
    shape("D", solid, {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2}, {4, 7});
    add(solid, Array1d<float>(4), shape("TE4"));
    add(solid, Array1d<unsigned int>({0, 1, 2, 3, 0}), shape("TE4 (2)"));
    add(solid, Array1d<unsigned int>({0, 1, 2, 3}), shape("E"));
    const unsigned int twice = shape("F", solid, {0, 1, 2, 3}, {4});
    model.addArrayProperty("L", DatasetType::Connectivity0, Array1d<unsigned int>({0, 1}), twice,
                           Step{});
    EXPECT_EQ(
        findings(),
        (std::vector<std::string>{
            "node 3 (/R/A), variable \"Coordinates\": coordinates of unsigned numbers; viewers "
            "expect floats",
            "node 5 (/R/B), variable \"Connectivity\": entry 2 is 4, but the coordinates have 4 "
            "rows",
            "node 7 (/R/C), variable \"Polylength\": its sum is 4, but the connectivity has 5 rows",
            "node 9 (/R/D), variable \"Polylength\": element 1 has 7 nodes; there is no such "
            "element of dimension 3",
            "node 11 (/R/TE4), variable \"Connectivity\": connectivity of floats; viewers expect "
            "unsigned numbers",
            "node 13 (/R/TE4 (2)), variable \"Connectivity\": its 5 rows are no whole number of "
            "elements with 4 nodes",
            "node 15 (/R/E), variable \"Connectivity\": there is no polylength, and the name of "
            "the shape is no element type",
            "node 17 (/R/F), variable \"L\": an earlier variable has the same use; viewers ignore "
            "this one",
            // the coordinates of A that were replaced
            "48 bytes at offset 0" + noVariable}));
}

TEST_F(LintTest, FindsWhatNoViewerCanShow) {
    const unsigned int a = shape("a\n", solid, {0, 1, 2, 3}, {4});
    const unsigned int b = shape("b", solid, {0, 1, 2, 3}, {4});
    const Array1d<unsigned int> forth({a, b});
    const Array1d<unsigned int> back({b, a});
    addResult(ofNodes, "circle", 4, forth);
    addResult(ofNodes, "circle", 4, back);
    addResult(ofNodes, "T", 4, forth);
    addResult(ofElements, "T", 1, a); // b keeps its link and its type
    addResult(ofNodes, "T", 3, a, timed("1", 0.5F));
    addResult(ofElements, "E", 2, a, timed("1", 0.25F));
    addResult(ofElements,
              "E\x1E"
              "1",
              1, a, Step{"2"});
    addResult(ofNodes, "lost", 4, group);
    model.setCurrentNodeId(group);
    addResult(ofNodes, "T", 4, model.addNode(NodeType::Shape, "empty"));
    Attributes attributes;
    attributes.set("Comment", std::string(300, 'x'));
    attributes.set("Name", std::string(255, 'x'));
    model.addArrayProperty("C", ofNodes, Array1d<float>(4), a, Step{}, attributes);
    const std::string nodeA = "node 3 (/R/a\\x0A), variable ";
    const std::string nodeB = "node 5 (/R/b), variable ";
    EXPECT_EQ(
        findings(),
        (std::vector<std::string>{
            nodeA + "\"circle\": it has no array: its links form a circle",
            nodeB + "\"circle\": it has no array: its links form a circle",
            nodeB +
                "\"T\": it has type 12 of floats, but the array that it links to has type 16 of "
                "floats",
            nodeA + "\"T\", step \"1\": it has 3 rows for 4 nodes",
            nodeA + "\"E\", step \"1\": it has 2 rows for 1 elements",
            nodeB + "\"T\": it has 1 rows for 4 nodes",
            "node 7 (/R/empty), variable \"T\": there are no coordinates for it",
            nodeA + "\"E\", step \"1\\x1E2\": its name has two steps: the byte 1E occurs twice",
            nodeA + "\"E\", step \"1\": two steps have this name: \"Time\" is 0.25 here and 0.5 "
                    "before",
            nodeA + "\"C\": the attribute \"Comment\" has 256 bytes, the limit: a longer string "
                    "was truncated",
            "48 bytes at offset 136" + noVariable, // circle twice, T
            "16 bytes at offset 212" + noVariable}));
}

} // namespace
