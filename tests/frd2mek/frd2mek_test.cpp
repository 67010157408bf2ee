#include "meknames/lookup.hpp"
#include "mekreader/variables.hpp"
#include "support/program.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

using MekReader::AttributeList;
using MekReader::Node;
using MekReader::Variable;
using Words = std::vector<std::uint32_t>;

constexpr std::uint32_t missing = 0x7FC00000;

/// Runs the program on result files from the corpus of the fuzz target.
class ConverterTest : public Testing::ProgramTest {
protected:
    static std::string seed(const std::string& name) {
        return Testing::readFile(Testing::seedFolder / name);
    }

    /// Converts a result file with this content and checks the model file.
    /// @param warning what the program says about the file
    MekReader::File converted(const std::string& text, const std::string& warning = "") const {
        std::ofstream("job.frd", std::ios::binary) << text;
        const Testing::Run result = Testing::run("frd2mek job.frd --overwrite --salvage");
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors,
                  warning.empty() ? "" : "frd2mek: job.frd: warning: " + warning + "\n");
        MekReader::check(path("job.mek"));
        return MekReader::File(path("job.mek"));
    }

    /// An existing output file must be unchanged, and no other file may remain.
    /// @param start of the message
    void expectRefused(const std::string& text, const std::string& start,
                       const std::string& options = "") const {
        std::ofstream("job.frd", std::ios::binary) << text;
        std::ofstream("job.mek") << "earlier";

        const Testing::Run result = Testing::run("frd2mek job.frd --overwrite " + options);

        EXPECT_EQ(result.exitCode, 1) << start;
        EXPECT_EQ(result.errors.substr(0, start.size() + 17), "frd2mek: job.frd:" + start);
        EXPECT_EQ(Testing::readFile(path("job.mek")), "earlier");
        EXPECT_EQ(names(), "job.frd job.mek ") << result.errors;
    }
};

/// The geometry of the shape with this path, such as "/job/STEEL/HE8".
const Node& geometry(const MekReader::File& file, std::string_view path) {
    const MekNames::Tree tree(file);
    const Node* const shape = tree.find(path);
    return shape != nullptr ? tree.geometryOf(*shape)
                            : throw std::runtime_error("no shape " + std::string(path));
}

/// @param step empty for the mesh
const Variable& variable(const Node& node, std::string_view name, std::string_view step = "") {
    const auto found =
        std::find_if(node.variables.begin(), node.variables.end(), [&](const Variable& candidate) {
            const MekReader::VariableName names = MekReader::splitName(candidate.name);
            return names.quantity == name && names.step.value_or("") == step;
        });
    return node.variables.at(static_cast<std::size_t>(found - node.variables.begin()));
}

TEST_F(ConverterTest, ConvertsTheSameModelFromShortTextAndBinaryBlocks) {
    std::string dosText;
    for (const char character : seed("short")) {
        dosText += character == '\n' ? "\r\n" : std::string(1, character);
    }
    for (const std::string& form : {seed("short"), dosText, seed("binary"), seed("mixed")}) {
        auto file = converted(form);
        const Node& triangles = geometry(file, "/a/b/STEEL/TR3");
        const Node& rods = geometry(file, "/a/b/STEEL (7)/BE2");
        const Node& bricks = geometry(file, "/a/b/Material 5/HE20");

        EXPECT_EQ(file.nodes()[0].group->attributes,
                  (AttributeList{{"Heading", "Cube on a rod"}, {"Program", "CalculiX"}}));
        EXPECT_EQ(file.words(variable(triangles, "Element IDs")), (Words{8, 9}));
        EXPECT_EQ(variable(triangles, "Connectivity").type, 5U);
        EXPECT_EQ(file.words(variable(triangles, "Connectivity")), (Words{1, 3, 0, 3, 1, 0}));
        EXPECT_EQ(file.words(variable(triangles, "Polylength")), (Words{3, 3}));
        EXPECT_EQ(file.words(variable(bricks, "Connectivity")),
                  (Words{1, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 1, 3, 3, 3, 3, 1}));
        for (const Node* const shape : {&triangles, &rods, &bricks}) {
            EXPECT_EQ(file.words(variable(*shape, "Node Ids")), (Words{30, 4, 99, 12}));
            EXPECT_EQ(file.floats(variable(*shape, "Coordinates")),
                      (std::vector<float>{0, 1, -0.25F, 1, 0, 0, 0, 0, 1, 0, 0, 0}));
            EXPECT_EQ(file.words(variable(*shape, "DISP", "Step 1 t=2.5")),
                      (Words{missing, missing, missing, 0x40800000, 0x40A00000, 0x40C00000, missing,
                             missing, missing, 0x3F800000, 0x40000000, 0xC0400000}));
            EXPECT_EQ(file.floats(variable(*shape, "SDV.G", "Step 1 t=2.5"))[3], 7);
        }
        const std::string command = "frd2mek job.frd threads.mek --overwrite --threads 3";
        EXPECT_EQ(Testing::run(command).exitCode, 0);
        EXPECT_TRUE(Testing::withoutDate(path("threads.mek")) ==
                    Testing::withoutDate(path("job.mek")));
    }
}

TEST_F(ConverterTest, ReadsNumbersAsFortranAndCWriteThem) {
    auto file = converted(seed("numbers"));
    EXPECT_EQ(file.words(variable(geometry(file, "/job/Nodes"), "NDTEMP", "Step 1 t=1")),
              (Words{0, 0xFF800000, 0x3C75C28F, 0x41700000, missing, missing, 0xFF800000,
                     0x7F800000, 0x40200000, 0x000147AE, 0x80000000, 0x7F7FFFEE}));
}

TEST_F(ConverterTest, NamesStepsAndPartsOfComplexResults) {
    const auto file = converted(seed("complex"));
    const Node& shape = geometry(file, "/job/Nodes");
    const std::string part = "ComplexPart";
    const Variable& real = variable(shape, "TOSTRAIN", "Mode 2 f=13.2");
    EXPECT_TRUE(real.vibration);
    EXPECT_EQ(real.attributes, (AttributeList{{"Analysis", "Frequency"},
                                              {"AnalysisText", "MODAL"},
                                              {"Category", "Vibration"},
                                              {"ComplexCounterpart", "TOSTRAII"},
                                              {"ComplexPart", "Real"},
                                              {"Components", "X"},
                                              {"DeckStep", 2U},
                                              {"Frequency", 13.2F},
                                              {"GeneralizedStiffness", 25.0F},
                                              {"Increment", 1U},
                                              {"Mode", 2U},
                                              {"Number", 7U}}));
    EXPECT_EQ(variable(shape, "DISPI", "Step 9 f=14000").attributes,
              (AttributeList{{"Analysis", "Steady state"},
                             {"ComplexCounterpart", "DISP"},
                             {"ComplexPart", "Imaginary"},
                             {"Components", "X"},
                             {"Frequency", 14000.0F},
                             {"Number", 9U}}));
    const std::string buckling = "Step 2 factor=48.15455528";
    EXPECT_EQ(variable(shape, "TOSTRAII", "Mode 2 f=13.2").attributes.at(part),
              MekReader::AttributeValue("Imaginary"));
    EXPECT_EQ(variable(shape, "PDISP", buckling).attributes.at(part),
              MekReader::AttributeValue("Phase"));
    EXPECT_EQ(variable(shape, "DISP", buckling + " (2)").attributes.count(part), 0U);
}

TEST_F(ConverterTest, LeavesOutWhatHasNoCoordinatesAndKeepsNegativeNumbers) {
    converted("    1C\n 9999\n", "the file has no nodes");
    auto file = converted(seed("undefined-nodes"),
                          "3 values at nodes without coordinates left out: NDTEMP 2, DISP 1; "
                          "2 elements with nodes without coordinates left out");
    const Node& rods = geometry(file, "/job/Material -3/BE2");
    EXPECT_EQ(file.nodes().size(), 4U);
    EXPECT_EQ(file.nodes()[1].group->attributes, (AttributeList{{"Material", -3.0F}}));
    EXPECT_EQ(file.words(variable(rods, "Element IDs")), (Words{1}));
    EXPECT_EQ(file.words(variable(rods, "Connectivity")), (Words{1, 0}));
    EXPECT_EQ(file.words(variable(rods, "NDTEMP", "Step -1 t=1")), (Words{0x40400000, missing}));
    const Variable& displacement = variable(rods, "DISP", "Step -1 t=1");
    EXPECT_EQ(file.words(displacement), (Words{missing, 0x40000000}));
    EXPECT_EQ(displacement.attributes, (AttributeList{{"Analysis", "Static"},
                                                      {"Components", "D1"},
                                                      {"DeckStep", -3.0F},
                                                      {"Increment", -2.0F},
                                                      {"Mode", "4294967296"},
                                                      {"Number", -1.0F},
                                                      {"Time", 1.0F}}));
}

/// Start of the line of this number, or the end of `text`.
std::size_t startOf(std::size_t line, const std::string& text) {
    std::size_t start = 0;
    while (--line > 0 && start < text.size()) {
        start = text.find('\n', start) + 1;
    }
    return start;
}

std::string bytesOf(const std::vector<std::int32_t>& numbers) {
    return std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * 4);
}

TEST_F(ConverterTest, ReportsLineAndExpectationOfInvalidRecords) {
    using Case = std::tuple<std::size_t, std::string, std::string>; // line, record, expectation
    const std::string text = seed("continued");
    const auto line = [&](std::size_t number) {
        const std::size_t start = startOf(number, text);
        return text.substr(start, startOf(number + 1, text) - start - 1);
    };
    const std::string value = " 1.00000E+00";
    const std::vector<Case> cases{
        {2, std::string(3 << 20, 'x'), "a line of text"},
        {2, "    7X", "a record 1C, 1U, 1P, 2C, 3C, 100C or 9999, found \"    7X\""},
        {3, line(3).substr(0, 73) + "2", "format code 0, 1 or 3"},
        {4, " -1         0 0.00000E+00 0.00000E+00 0.00000E+00", "a node number from column 4"},
        {4, " -1         1 0.00000E+00 0.0O000E+00 0.00000E+00",
         "a coordinate from column 26 on, found \" 0.0O000E+00\""},
        {5, line(4), "each node once, found node 1 again"},
        {8, " -1         1   13    0    1", "an element type from 1 to 12"},
        {7, line(7).substr(0, 73) + '2' + '\n' + bytesOf({1, 13, 0, 1}),
         "an element type from 1 to 12 in record 1 of the binary block after this line, found 13"},
        {7, line(7).substr(0, 73) + '2' + '\n' + bytesOf({7, 11, 0, 1, 1, 2, 0, 11, 0, 1, 1, 2}),
         "an element number in record 2 of the binary block after this line, found 0"},
        {12, " -4  SDV         7    3", "1 for values at nodes"},
        {20, " -1         1 *********** 1.00000E+00", "a value from column 14"},
        {21, line(21) + value, "end of the line from column 26 on"},
        {22, line(20) + '\n' + line(21) + "\n -3", "each node once in a result block"},
        {23, line(3), "all nodes and elements before the first result"},
        {24, " 9999", "nothing after the record 9999"},
    };
    for (const auto& [number, record, expected] : cases) {
        std::string changed = text;
        const std::size_t start = startOf(number, text);
        changed.replace(start, startOf(number + 1, text) - start, record + '\n');
        expectRefused(changed, std::to_string(number) + ": expected " + expected);
    }
    expectRefused("NODE\n", "1: not a result file (.frd)");
}

TEST_F(ConverterTest, SalvagesCompleteBlocksOfUnfinishedFiles) {
    using Cut = std::tuple<std::size_t, std::size_t, std::string>; // lines, columns, what is whole
    const std::string text = seed("continued");
    const std::string stopped = " the solver stopped before it finished this file; ";
    const std::string cut = " the file ends inside a record; ";
    for (const auto& [lines, columns, parts] :
         std::vector<Cut>{{6, 0, "2 nodes, 0 elements and 0 results are whole"},
                          {8, 9, "2 nodes, 0 elements and 0 results are whole"},
                          {10, 0, "2 nodes, 1 element and 0 results are whole"},
                          {20, 13, "2 nodes, 1 element and 0 results are whole"},
                          {22, 0, "2 nodes, 1 element and 1 result are whole"},
                          {22, 4, "2 nodes, 1 element and 1 result are whole"}}) {
        const std::string part = text.substr(0, startOf(lines + 1, text) + columns);
        expectRefused(part, (columns == 0 ? stopped : cut) + parts + "; --salvage converts them");
        converted(part, "the file is unfinished; " + parts);
    }
    const std::string binary = seed("binary");
    const std::size_t end = binary.find(" 9999");
    const std::string all = "4 nodes, 4 elements and 2 results are whole";
    expectRefused(binary.substr(0, end), stopped + all);
    EXPECT_EQ(converted(text.substr(0, text.size() - 1)).nodes().size(), 4U);
    auto file = converted(binary.substr(0, end - 1),
                          "the file is unfinished; 4 nodes, 4 elements and 1 result are whole");
    EXPECT_EQ(geometry(file, "/a/b/STEEL/TR3").variables.back().name, "DISP\x1EStep 1 t=2.5");

    expectRefused("", " the file is empty");
    const std::string mesh = text.substr(0, startOf(5, text));
    expectRefused(mesh, " the solver stopped before it wrote the mesh; ", "--salvage");
    expectRefused(mesh + text.substr(mesh.size(), 25),
                  " the file ends inside a record, before its mesh is complete; ", "--salvage");
}

} // namespace
