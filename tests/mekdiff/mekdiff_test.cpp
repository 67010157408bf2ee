/// The program: each kind of difference, tolerances, and its exit codes.
#include "support/program.hpp"

#include <tyr/mek2/model.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// What differs between the models of a test.
struct Content {
    std::vector<float> stress{1, 2, nan, 4, -5, 1e6F};
    unsigned int mass = 5;
    float scale = 1;
    bool reversed = false;
    bool linked = false;
    std::string lastShape = "pin";
    unsigned int firstId = 1;
};

class MekDiffTest : public Testing::ProgramTest {
protected:
    static void write(const std::string& name, const Content& content) {
        Model model;
        model.saveTo(name, SaverOptions{true});
        Attributes attributes;
        attributes.set("mass", content.mass);
        model.addNode(NodeType::RootGroup, "R", attributes);
        NodeProperties properties;
        properties.set(PropertyType::Scale, std::vector<float>{content.scale, 1, 1});
        model.setNodeData(1, properties);
        const unsigned int plate = model.addNode(NodeType::Shape, "plate");
        model.setCurrentNodeId(1);
        const unsigned int pin = model.addNode(NodeType::Shape, content.lastShape);
        const Array2d<float> stress(2, 3, content.stress);
        Attributes time;
        time.set("Time", 0.5F);
        const Step step{"1", time};
        if (content.reversed) {
            addIds(model, plate, content);
        }
        if (content.linked) {
            model.addArrayProperty("S", DatasetType::ResultA3, stress,
                                   Array1d<unsigned int>{plate, pin}, step);
        } else {
            model.addArrayProperty("S", DatasetType::ResultA3, stress, plate, step);
            model.addArrayProperty("S", DatasetType::ResultA3, stress, pin, step);
        }
        if (!content.reversed) {
            addIds(model, plate, content);
        }
        model.close();
    }

    static void addIds(Model& model, unsigned int id, const Content& content) {
        model.addArrayProperty(DatasetType::NodeIds, Array1d<unsigned int>{content.firstId, 2}, id,
                               Step{});
    }

    /// Compares "a.mek" with a model of another content.
    static void expect(const std::string& options, const std::function<void(Content&)>& change,
                       int exitCode, const std::string& output, const std::string& errors = "") {
        Content content;
        write("a.mek", content);
        change(content);
        write("b.mek", content);
        const Testing::Run run = Testing::run("mekdiff a.mek b.mek " + options);
        EXPECT_EQ(run.exitCode, exitCode) << options;
        EXPECT_EQ(run.output, output) << options;
        EXPECT_EQ(run.errors, errors) << options;
    }
};

TEST_F(MekDiffTest, FindsEachKindOfDifference) {
    const auto stress = [](Content& content) { content.stress = {1, 2, nan, 4.5F, -5, 1e6F + 1}; };
    const auto ids = [](Content& content) { content.firstId = 3; };
    const auto lost = [](Content& content) { content.lastShape = "nut"; };
    const std::string line =
        "\"S\", step \"1\": 2 of 6 values differ by at most 1, in row 1, column 2: "
        "1e+06 and 1000001\n";
    expect(
        "", [](Content& content) { content.linked = true; }, 0, "");
    expect("", stress, 1,
           "/R/plate: " + line + "/R/pin: " + line +
               "2 differences; the largest in /R/plate: \"S\", step \"1\", row 1, column 2: 1\n");
    expect("--quiet", stress, 1, "");
    expect("--rel=1e-5 --abs 0.5", stress, 0, "");
    expect("--only \"Node Ids\"", stress, 0, "");
    expect("--rel 0.9", ids, 1, // ids have no tolerance
           "/R/plate: \"Node Ids\": 1 of 2 values differ by at most 2, in row 0: 1 and 3\n"
           "1 difference; the largest in /R/plate: \"Node Ids\", row 0: 2\n");
    expect(
        "", [](Content& content) { content.stress[2] = 3; }, 1,
        "/R/plate: \"S\", step \"1\": 1 of 6 values differ by at most inf, in row 0, column 2: nan "
        "and 3\n"
        "/R/pin: \"S\", step \"1\": 1 of 6 values differ by at most inf, in row 0, column 2: nan "
        "and 3\n"
        "2 differences; the largest in /R/plate: \"S\", step \"1\", row 0, column 2: inf\n");
    expect("", lost, 1, "/R/pin: only in a.mek\n/R/nut: only in b.mek\n2 differences\n");
    expect(
        "",
        [](Content& content) {
            content.mass = 6;
            content.scale = 2;
        },
        1, "/R: scale: 1 1 1 and 2 1 1\n/R: attribute \"mass\": 5 and 6\n2 differences\n");
    const auto reversed = [](Content& content) { content.reversed = true; };
    expect("", reversed, 1, "/R/plate: the order of its variables differs\n1 difference\n");
    expect("--ignore-order", reversed, 0, "");
    expect("--only X", ids, 2, "", "mekdiff: neither file has an array \"X\"\n");
    expect("--abs nan", ids, 2, "",
           "mekdiff: --abs: needs a number from 0 on; see mekdiff --help\n");

    std::filesystem::resize_file("b.mek", 3000);
    const Testing::Run run = Testing::run("mekdiff a.mek b.mek");
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.errors.find("mekdiff: b.mek: file is unfinished: "), 0U) << run.errors;
}

} // namespace
