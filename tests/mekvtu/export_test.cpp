#include "mekvtu/export.hpp"

#include <tyr/mek2/model.hpp>

#include "console/error.hpp"
#include "mekinfo/print.hpp"
#include "mekreader/error.hpp"
#include "mekvtu/celltype.hpp"
#include "mekvtu/timeline.hpp"
#include "mekvtu/xmlescape.hpp"
#include "support/testing.hpp"

#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Tyr::Mek2;

class ExportTest : public Testing::FolderTest {
protected:
    /// The file of a model with one shape, after `fill` has added its data.
    MekReader::File written(const std::function<void(Model&, unsigned int)>& fill) {
        Model model;
        model.saveTo(path("in.mek"), SaverOptions{true});
        model.addNode(NodeType::RootGroup, "R");
        fill(model, model.addNode(NodeType::Shape, "S"));
        model.close();
        return MekReader::File(path("in.mek"));
    }

    std::string errorOf(const std::function<void(Model&, unsigned int)>& fill) {
        MekReader::File file = written(fill);
        return Testing::messageOf<MekReader::Error>(
            [&] { MekVtu::exportVtu(file, folder / "out", "in"); });
    }

    bool exported(const std::string& name, const std::string& content) const {
        return Testing::readFile(folder / "out" / name).find(content) != std::string::npos;
    }

    static std::map<std::string, std::string> contents(const std::filesystem::path& directory) {
        std::map<std::string, std::string> contents;
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            contents[entry.path().filename().string()] = Testing::readFile(entry.path());
        }
        return contents;
    }

    /// Names and times of the steps "a", "b", ... that have these attributes.
    std::string steps(const std::vector<std::pair<const char*, float>>& attributes) {
        const MekReader::File file = written([&](Model& model, unsigned int id) {
            Step step{"a"};
            for (const auto& [key, value] : attributes) {
                step.attributes = {};
                step.attributes.set(key, value);
                model.addArrayProperty("T", DatasetType::ResultA1, Array1d<float>({1}), id, step);
                ++step.name[0];
            }
        });
        std::string text;
        for (const MekVtu::TimeStep& step : MekVtu::timeline(file).steps) {
            text += step.name + "=" + MekVtu::formatNumber(step.time) + " ";
        }
        return text;
    }
};

TEST_F(ExportTest, StepsHaveTimesOrNumbers) {
    EXPECT_EQ(steps({}), "=0 ");
    EXPECT_EQ(steps({{"Time", 2.0F}, {"Time", 0.1F}, {"Time", 1e-30F}}), "c=1e-30 b=0.1 a=2 ");
    EXPECT_EQ(steps({{"BucklingFactor", 3.5F}, {"BucklingFactor", -2.0F}}), "b=-2 a=3.5 ");
    EXPECT_EQ(steps({{"Time", 2.0F}, {"Time", 2.0F}}), "a=0 b=1 ");
    EXPECT_EQ(steps({{"Time", 2.0F}, {"Frequency", 1.0F}}), "a=0 b=1 ");
}

TEST_F(ExportTest, RefusesInvalidMeshes) {
    const auto mesh = [](DatasetType type, std::initializer_list<unsigned int> rows,
                         std::initializer_list<unsigned int> lengths) {
        return [=](Model& model, unsigned int id) {
            model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(4, 3), id, Step{});
            model.addArrayProperty(type, Array1d<unsigned int>(rows), id, Step{});
            model.addArrayProperty(DatasetType::Polylength0, Array1d<unsigned int>(lengths), id,
                                   Step{});
        };
    };
    const auto solids = DatasetType::Connectivity2;
    EXPECT_EQ(errorOf([](Model&, unsigned int) {}), "no geometry has coordinates");
    EXPECT_EQ(errorOf(mesh(solids, {0, 1, 2, 4}, {4})),
              "shape \"S\": element 0 uses row 4 of 4 coordinates");
    EXPECT_EQ(errorOf(mesh(solids, {0, 1, 2, 3, 0, 1, 2}, {4, 4})),
              "shape \"S\": element 1 exceeds the connectivity");
    EXPECT_EQ(errorOf(mesh(solids, {0, 1, 2, 3, 0, 1, 2}, {4})),
              "shape \"S\": the polylengths add up to 4, but the connectivity has 7 rows");
    EXPECT_EQ(errorOf(mesh(DatasetType::Connectivity0, {0, 1}, {})),
              "shape \"S\": unknown number of nodes per element: no polylength, and the name is no "
              "element type");
}

TEST_F(ExportTest, LeavesOutCirclesOfLinks) {
    MekReader::File file = written([](Model& model, unsigned int) {
        model.addAssemblyComponents(std::vector<std::string>{"/R/B", "/R/C", "/R/D"});
        const Array1d<unsigned int> words({0, 1});
        const auto add = [&](const char* name, DatasetType type, const auto& array,
                             std::initializer_list<unsigned int> ids) {
            model.addArrayProperty(name, type, array, Array1d<unsigned int>(ids), Step{});
        };
        add("X", DatasetType::ResultA1, words, {3, 5});
        add("X", DatasetType::ResultA1, words, {5, 3, 7}); // 3 and 5 to each other, 7 to 5
        add("P", DatasetType::Coordinates, Array2d<float>(2, 3), {3, 7});
        add("P", DatasetType::Coordinates, Array2d<float>(2, 3), {5, 9});
        add("P", DatasetType::Coordinates, Array2d<float>(2, 3), {9, 5});
        add("L", DatasetType::Connectivity0, words, {3, 7});
        add("L", DatasetType::ResultA1, words, {3}); // 7 keeps its type
        add("N", DatasetType::Polylength0, Array1d<unsigned int>({2}), {7});
    });
    const std::vector<MekReader::Variable>& variables = file.nodes()[6].variables;

    EXPECT_NO_THROW(MekReader::check(path("in.mek")));
    EXPECT_EQ(Testing::messageOf<MekReader::Error>([&] { file.words(variables[0]); }),
              "variable \"X\" has no array: its links form a circle");
    std::ostringstream listing;
    MekInfo::print(listing, file);
    EXPECT_NE(listing.str().find("link to [0] of node 5, no array: the links form a circle\n"),
              std::string::npos);
    const MekVtu::ExportSummary summary = MekVtu::exportVtu(file, folder / "out", "in");
    EXPECT_EQ(summary.files, 2U); // neither B nor D has coordinates
    EXPECT_EQ(summary.notes.size(), 5U);
    EXPECT_EQ(summary.notes.back(),
              "\"X\" of node 7 (\"C\") has no array: its links form a circle; it is left out");
    EXPECT_TRUE(exported("in-2-C-0.vtu", "NumberOfCells=\"1\""));
}

TEST_F(ExportTest, NamesFilesAndReportsProgress) {
    const std::string longName = std::string(63, 'n') + "\xCE\x9B" + std::string(300, 'n');
    MekReader::File file = written([&](Model& model, unsigned int id) {
        const Array2d<float> points(1, 3);
        const unsigned int other = model.addNode(NodeType::Shape, longName);
        const Array1d<unsigned int> ids{id, other, model.addNode(NodeType::Shape, "C")};
        model.addArrayProperty(DatasetType::Coordinates, points, ids, Step{});
    });
    std::string progress;
    MekVtu::ExportOptions options;
    options.progress = [&](std::size_t done, std::size_t all) {
        progress += std::to_string(done) + "/" + std::to_string(all) + " ";
    };
    MekVtu::exportVtu(file, folder / "out", "in", options);
    EXPECT_EQ(progress, "0/3 1/3 2/3 1/1 ");
    const std::string name = "in-1-" + std::string(63, 'n') + "-0.vtu";
    EXPECT_TRUE(exported(name, "</VTKFile>"));
    options.progress = [&](std::size_t done, std::size_t) {
        if (done == 2) { // after file 1 was written, before it gets its name
            std::filesystem::remove(folder / "out" / name);
            std::filesystem::create_directory(folder / "out" / name);
        }
    };
    EXPECT_NE(Testing::messageOf<Console::FileError>([&] {
                  MekVtu::exportVtu(file, folder / "out", "in", options);
              }).find("; 1 of 4 files are new, the last one in-0-S-0.vtu, and there is no in.pvd"),
              std::string::npos);
}

#if defined(__linux__)
TEST_F(ExportTest, LeavesTheEarlierExportAfterAFailure) {
    MekReader::File file = written([](Model& model, unsigned int id) {
        model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(1, 3), id, Step{"a"});
        model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(2, 3), id, Step{"b"});
    });
    const auto errorOfExport = [&](const char* name) {
        return Testing::messageOf<Console::FileError>(
            [&] { MekVtu::exportVtu(file, folder / name, "in"); });
    };
    EXPECT_EQ(errorOfExport("out"), "no error");
    MekVtu::ExportOptions stopped;
    stopped.progress = [](std::size_t done, std::size_t) {
        if (done > 0) {
            throw std::runtime_error("stopped");
        }
    };
    stopped.raw = true; // other bytes than those of the earlier export
    const auto earlier = contents(folder / "out");
    EXPECT_EQ(earlier.size(), 3U);
    EXPECT_THROW(MekVtu::exportVtu(file, folder / "out", "in", stopped), std::runtime_error);
    EXPECT_EQ(contents(folder / "out"), earlier);
    std::filesystem::create_directories(path("other/in-0-S-1.vtu/full"));
    EXPECT_EQ(errorOfExport("other"), path("other/in-0-S-1.vtu: Is a directory"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "other"), {}), 1);
}
#endif

TEST(CellType, FollowsFromNodesAndName) {
    const auto number = [](const char* name, unsigned dimension, std::uint64_t nodes) {
        const auto type = MekVtu::cellType(name, dimension, nodes);
        return type ? int{type->number} : -1;
    };
    EXPECT_EQ(number("PG6", 2, 6), 7);      // polygon
    EXPECT_EQ(number("QU6 (2)", 2, 6), 30); // linear by quadratic quadrilateral
    EXPECT_EQ(number("TE4", 2, 4), 9);      // the dimension has priority
    EXPECT_EQ(number("BE4", 1, 4), 35);     // cubic line
    EXPECT_EQ(number("any", 3, 7), -1);
}

TEST(XmlText, EscapesMarkupAndReplacesInvalidCharacters) {
    EXPECT_EQ(MekVtu::escapeXml("a<b>&\"c'"), "a&lt;b&gt;&amp;&quot;c'");
    EXPECT_EQ(MekVtu::escapeXml("\xE2\x82\xAC \xF0\x9F\x98\x80"), "\xE2\x82\xAC \xF0\x9F\x98\x80");
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(MekVtu::escapeXml("\xFFz"), replaced + "z");
    EXPECT_EQ(MekVtu::escapeXml("\xC0\x80"), replaced + replaced);                // overlong
    EXPECT_EQ(MekVtu::escapeXml("\xED\xA0\x80"), replaced + replaced + replaced); // surrogate
}

} // namespace
