#include "frd2mek/converterfixture.hpp"

#include <algorithm>

namespace {

using namespace Testing;

const std::vector<std::string> lines{
    "    1Cjob",                                                                             // 1
    "    1UMAT    1STEEL",                                                                   // 2
    "    2C                             2                                     1",            // 3
    " -1         1 0.00000E+00 0.00000E+00 0.00000E+00",                                     // 4
    " -1         2 1.00000E+00 0.00000E+00 0.00000E+00",                                     // 5
    " -3",                                                                                   // 6
    "    3C                             1                                     1",            // 7
    " -1         1   11    0    1",                                                          // 8
    " -2         1         2",                                                               // 9
    " -3",                                                                                   // 10
    "  100CL  101 1.000000000           2                     0    1           1",           // 11
    " -4  SDV         7    1",                                                               // 12
    " -5  A           1    1    0    0",                                                     // 13
    " -5  B           1    1    0    0",                                                     // 14
    " -5  C           1    1    0    0",                                                     // 15
    " -5  D           1    1    0    0",                                                     // 16
    " -5  E           1    1    0    0",                                                     // 17
    " -5  F           1    1    0    0",                                                     // 18
    " -5  G           1    1    0    0",                                                     // 19
    " -1         1 1.00000E+00 1.00000E+00 1.00000E+00 1.00000E+00 1.00000E+00 1.00000E+00", // 20
    " -2           1.00000E+00",                                                             // 21
    " -3",                                                                                   // 22
    " 9999"};                                                                                // 23

std::string joined(const std::vector<std::string>& all, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += all[i] + "\n";
    }
    return text;
}

class RefusalTest : public ConverterTest {
protected:
    /// A good file stands where the output would; it must survive, and nothing may be left over.
    void expectRefused(const std::string& text, std::size_t line, const std::string& expected) {
        write("job.frd", text);
        write("job.mek", "earlier");

        const Run result = convert("job.frd --overwrite");

        EXPECT_EQ(result.exitCode, 1) << expected;
        const std::string start = "frd2mek: job.frd:" + std::to_string(line) + ": expected ";
        EXPECT_EQ(result.output.substr(0, start.size() + expected.size()), start + expected);
        EXPECT_EQ(readFile(path("job.mek")), "earlier");
        const auto files = std::distance(std::filesystem::directory_iterator(folder),
                                         std::filesystem::directory_iterator());
        EXPECT_EQ(files, 2) << result.output;
    }
};

TEST_F(RefusalTest, NamesLineAndExpectationOfFaultyRecords) {
    struct Case {
        std::size_t line;
        std::string record;
        std::string expected;
    };
    const std::string value = " 1.00000E+00";
    const std::vector<Case> cases{
        {1, "*NODE", "the first record of a result file"},
        {1, std::string("\0\1\2", 3), "the first record of a result file"},
        {1, std::string(3 << 20, 'x'), "a line of text"},
        {2, "    7X", "a record 1C, 1U, 1P, 2C, 3C, 100C or 9999, found \"    7X\""},
        {3, lines[2].substr(0, 73) + "3", "format code 0 or 1"},
        {4, " -1         0 0.00000E+00 0.00000E+00 0.00000E+00", "a node number from column 4"},
        {4, " -1         1 0.00000E+00 0.0O000E+00 0.00000E+00",
         "a coordinate from column 26 on, found \" 0.0O000E+00\""},
        {5, " -1         1 0.00000E+00 0.00000E+00 0.00000E+00",
         "each node once, found node 1 again"},
        {8, " -1         1   13    0    1", "an element type from 1 to 12"},
        {9, " -2         1         3", "a node of the node block from column 14 on"},
        {9, " -1         1         2", "a record -2 of an element"},
        {12, " -4  SDV         7    3", "1 for values at nodes"},
        {19, " -1         1 1.00000E+00", "a record -5 with a component"},
        {20, " -1         5" + value, "a node of the node block"},
        {20, " -1         1 *********** 1.00000E+00", "a value from column 14"},
        {21, " -1         2" + value, "a record -2 with further values"},
        {21, lines[20] + value, "end of the line from column 26 on"},
        {22, "  100C", "a record -1 or -3 of a result block"},
        {22, lines[19] + '\n' + lines[20], "each node once in a result block"},
        {23, lines[2], "all nodes and elements before the first result"},
        {24, " 9999", "nothing behind the record 9999"},
    };
    for (const Case& each : cases) {
        std::vector<std::string> changed = lines;
        changed.resize(std::max(lines.size(), each.line));
        changed[each.line - 1] = each.record;
        expectRefused(joined(changed, changed.size()), each.line, each.expected);
    }
}

TEST_F(RefusalTest, NoticesEveryTruncation) {
    for (std::size_t count = 0; count < lines.size(); ++count) {
        expectRefused(joined(lines, count), count + 1, "");
    }
    const std::vector<std::pair<std::size_t, std::size_t>> cuts{
        {5, 25}, {5, 48}, {8, 17}, {9, 20}, {11, 20}, {20, 80}, {21, 18}};
    for (const auto& [line, width] : cuts) {
        expectRefused(joined(lines, line - 1) + lines[line - 1].substr(0, width), line, "");
    }
}

} // namespace
