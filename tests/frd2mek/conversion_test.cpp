#include "frd2mek/converterfixture.hpp"

namespace {

using namespace Testing;
using MekReader::AttributeList;
using Words = std::vector<std::uint32_t>;

constexpr float infinity = std::numeric_limits<float>::infinity();

/// Four nodes whose numbers do not ascend, one of them in no element; short format.
const std::string shortMesh =
    "    1Ca/b\n"
    "    1UCube on a rod\n"
    "    1UPGM               CalculiX\n"
    "    1UMAT    2STEEL\n"
    "    1UMAT    7STEEL\n"
    "    2C                             4                                     0\n"
    " -1   30 0.00000E+00 1.00000E+00-2.50000E-01\n"
    " -1    4 1.00000E+00 0.00000E+00 0.00000E+00\n"
    " -1   99 0.00000E+00 0.00000E+00 1.00000E+00\n"
    " -1   12 0.00000E+00 0.00000E+00 0.00000E+00\n"
    " -3\n"
    "    3C                             4                                     0\n"
    " -1    8    7    0    2\n"
    " -2    4   12   30\n"
    " -1    3   11    0    7\n"
    " -2   30    4\n"
    " -1    9    7    0    2\n"
    " -2   12    4   30\n"
    " -1    1   11    0    5\n"
    " -2    4   30\n"
    " -3\n";

/// Four nodes in the long format and no elements.
const std::string longNodes =
    "    1C\n"
    "    2C                             4                                     1\n"
    " -1         1 0.00000E+00 0.00000E+00 0.00000E+00\n"
    " -1         2 1.00000E+00 0.00000E+00 0.00000E+00\n"
    " -1         3 0.00000E+00 1.00000E+00 0.00000E+00\n"
    " -1         4 0.00000E+00 0.00000E+00 1.00000E+00\n"
    " -3\n";

/// A result of one component at node 1.
std::string scalar(const std::string& head, const std::string& name,
                   const std::string& component = "X           1    1    0    0") {
    return head + "\n -4  " + name + "    1    1\n -5  " + component +
           "\n -1         1 1.00000E+00\n -3\n";
}

TEST_F(ConverterTest, ConvertsMeshAndResultsOfTheShortFormat) {
    const std::string text =
        shortMesh +
        "  100CL  101 2.500000000           4                     0    1           0\n"
        " -4  DISP        4    1\n"
        " -5  D1          1    2    1    0\n"
        " -5  D2          1    2    2    0\n"
        " -5  D3          1    2    3    0\n"
        " -5  ALL         1    2    0    0    1ALL\n"
        " -1   12 1.00000E+00 2.00000E+00-3.00000E+00\n"
        " -1    4 4.00000E+00 5.00000E+00 6.00000E+00\n"
        " -3\n"
        " 9999\n";
    std::string dosText;
    for (const char character : text) {
        dosText += character == '\n' ? "\r\n" : std::string(1, character);
    }
    for (const std::string& form : {text, dosText}) {
        auto file = converted(form);
        const auto& triangles = geometry(file, "a/b/STEEL/TR3");
        const auto& rods = geometry(file, "a/b/STEEL (7)/BE2");
        const auto& others = geometry(file, "a/b/Material 5/BE2");

        EXPECT_EQ(file.nodes()[0].group->attributes,
                  (AttributeList{{"Heading", "Cube on a rod"}, {"Program", "CalculiX"}}));
        EXPECT_EQ(file.words(variable(triangles, "Element IDs")), (Words{8, 9}));
        EXPECT_EQ(variable(triangles, "Connectivity").type, 5U);
        EXPECT_EQ(file.words(variable(triangles, "Connectivity")), (Words{1, 3, 0, 3, 1, 0}));
        EXPECT_EQ(file.words(variable(triangles, "Polylength")), (Words{3, 3}));
        EXPECT_EQ(variable(rods, "Connectivity").type, 4U);
        EXPECT_EQ(file.words(variable(rods, "Connectivity")), (Words{0, 1}));
        EXPECT_EQ(file.words(variable(others, "Element IDs")), (Words{1}));
        for (const auto* shape : {&triangles, &rods, &others}) {
            EXPECT_EQ(file.words(variable(*shape, "Node Ids")), (Words{30, 4, 99, 12}));
            EXPECT_EQ(file.floats(variable(*shape, "Coordinates")),
                      (std::vector<float>{0, 1, -0.25F, 1, 0, 0, 0, 0, 1, 0, 0, 0}));
            const auto& displacement = variable(*shape, "DISP", "Step 1 t=2.5");
            EXPECT_EQ(displacement.type, 13U);
            EXPECT_EQ(
                bitsOf(file.floats(displacement)),
                bitsOf({missing, missing, missing, 4, 5, 6, missing, missing, missing, 1, 2, -3}));
        }
    }
}

TEST_F(ConverterTest, ContinuesElementsAndValuesOverLines) {
    std::string text =
        "    1C\n    2C                             2                                     0\n"
        " -1    1 0.00000E+00 0.00000E+00 0.00000E+00\n"
        " -1    2 0.00000E+00 0.00000E+00 0.00000E+00\n -3\n"
        "    3C                             1                                     0\n"
        " -1    1    4    0    1\n"
        " -2    2    1    1    1    1    1    1    1    1    1    1    1    1    1    2\n"
        " -2    1    1    1    1    2\n -3\n"
        "  100CL  101 1.000000000           2                     0    1           0\n"
        " -4  SDV         7    1\n";
    for (const char component : std::string("ABCDEFG")) {
        text += std::string(" -5  ") + component + "           1    1    0    0\n";
    }
    auto file = converted(
        text +
        " -1    1 1.00000E+00 2.00000E+00 3.00000E+00 4.00000E+00 5.00000E+00 6.00000E+00\n"
        " -2      7.00000E+00\n -3\n 9999\n");
    const auto& shape = geometry(file, "job/Material 1/HE20");
    EXPECT_EQ(file.words(variable(shape, "Connectivity")),
              (Words{1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(file.floats(variable(shape, "SDV.F", "Step 1 t=1")).front(), 6.0F);
    EXPECT_EQ(file.floats(variable(shape, "SDV.G", "Step 1 t=1")).front(), 7.0F);
}

TEST_F(ConverterTest, ReadsNumbersAsFortranAndCWriteThem) {
    const std::vector<std::pair<std::string, float>> numbers{
        {" 1.00000-100", 0.0F},         {"-1.00000+100", -infinity}, {" 1.50000-002", 0.015F},
        {" 1.5000D+01 ", 15.0F},        {"         NaN", missing},   {"        -NAN", missing},
        {"   -Infinity", -infinity},    {"         INF", infinity},  {"+2.50000E+00", 2.5F},
        {" 1.17549E-40", 1.17549e-40F}, {"-1.00000E-60", -0.0F},     {" 3.40282E+38", 3.40282e38F}};
    for (const auto& [text, value] : numbers) {
        auto file = converted(
            longNodes +
            "  100CL  101 1.000000000           4                     0    1           1\n"
            " -4  NDTEMP      1    1\n -5  T           1    1    0    0\n"
            " -1         2" +
            text + "\n -3\n 9999\n");
        const auto& result = variable(geometry(file, "job/Nodes"), "NDTEMP", "Step 1 t=1");
        EXPECT_EQ(bitsOf(file.floats(result)), bitsOf({missing, value, missing, missing})) << text;
    }
}

TEST_F(ConverterTest, TellsStepsAndPartsOfComplexResults) {
    const std::string mode =
        "    1PSTEP                         5           1           2\n"
        "    1PGK                2.500000E+01\n"
        "    1PHID                         -1\n"
        "    1PMODE                         2\n";
    const std::string modal =
        mode + "  100CL  101 13.20000000           4                     2    7MODAL      1";
    const std::string sweep =
        "  100CL  101 14000.00000           4                     1    9           1";
    const std::string load =
        "  100CL  101 48.15455528           4                     4    2           1";
    const auto file =
        converted(longNodes + scalar(modal, "TOSTRAIN") + scalar(modal, "ENER    ") +
                  scalar(modal, "TOSTRAII") + scalar(sweep, "DISP    ") +
                  scalar(sweep, "DISPI   ") + scalar(load, "DISP    ") + scalar(load, "DISP    ") +
                  scalar(load, "PDISP   ", "PHA1        1   12    4    0") + " 9999\n");
    const auto& shape = geometry(file, "job/Nodes");

    const auto& real = variable(shape, "TOSTRAIN", "Mode 2 f=13.2");
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
    EXPECT_EQ(variable(shape, "TOSTRAII", "Mode 2 f=13.2").attributes.at("ComplexPart"),
              MekReader::AttributeValue("Imaginary"));
    EXPECT_EQ(variable(shape, "ENER", "Mode 2 f=13.2").attributes.count("ComplexPart"), 0U);
    EXPECT_EQ(variable(shape, "DISPI", "Step 9 f=14000").attributes,
              (AttributeList{{"Analysis", "Steady state"},
                             {"ComplexCounterpart", "DISP"},
                             {"ComplexPart", "Imaginary"},
                             {"Components", "X"},
                             {"Frequency", 14000.0F},
                             {"Number", 9U}}));
    EXPECT_EQ(variable(shape, "DISP", "Step 2 factor=48.15455528").attributes,
              variable(shape, "DISP", "Step 2 factor=48.15455528 (2)").attributes);
    EXPECT_EQ(variable(shape, "PDISP", "Step 2 factor=48.15455528").attributes.at("ComplexPart"),
              MekReader::AttributeValue("Phase"));
}

TEST_F(ConverterTest, WritesWhereItIsToldAndNeverOverWhatItMayNot) {
    write("job.frd", shortMesh + " 9999\n");

    const Run first = convert("job.frd");
    EXPECT_EQ(first.exitCode, 0);
    EXPECT_EQ(first.output,
              "job.mek: 4 nodes, 4 elements, 3 shapes, 0 results, 0 steps, " +
                  std::to_string(std::filesystem::file_size(path("job.frd"))) + " bytes in, " +
                  std::to_string(std::filesystem::file_size(path("job.mek"))) + " bytes out\n");
    EXPECT_EQ(convert("job.frd").output,
              "frd2mek: job.mek: exists; use --overwrite to replace it\n");
    EXPECT_EQ(convert("job.frd job.frd --overwrite").output,
              "frd2mek: job.frd: is the input itself\n");
    EXPECT_EQ(convert("job.frd .").exitCode, 1);
    const std::string unopened = "frd2mek: no/such/folder.mek: Unable to open file";
    EXPECT_EQ(convert("job.frd no/such/folder.mek").output.substr(0, unopened.size()), unopened);
    EXPECT_EQ(convert("none.frd").output, "frd2mek: none.frd: no such file\n");
    EXPECT_EQ(convert("--overwrite job.frd -- other.mek").exitCode, 0);
    MekReader::check(path("other.mek"));
    for (const char* const wrong : {"", "--fast job.frd", "a.frd b.mek c.mek"}) {
        EXPECT_EQ(convert(wrong).exitCode, 2) << wrong;
    }
}

} // namespace
