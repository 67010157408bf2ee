/// @file
/// Solves decks, converts the results, and compares the model with a reading of the result file of
/// its own, which knows the solver's format only: fixed columns, long format.
#include "frd2mek/converterfixture.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace {

using namespace Testing;

struct ElementBlock {
    std::vector<std::uint32_t> ids;
    std::vector<std::uint32_t> nodes; ///< numbers, not rows
};

struct ResultBlock {
    std::string name;
    std::string step;
    std::vector<std::string> components;
    std::set<int> kinds;
    std::map<std::uint32_t, std::vector<float>> values;
};

struct ResultText {
    std::vector<std::uint32_t> nodeIds;
    std::vector<float> coordinates;
    std::map<int, std::string> materials;
    std::map<std::pair<int, int>, ElementBlock> elements; ///< by material and type
    std::vector<ResultBlock> results;
};

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

void appendValues(const std::string& line, std::vector<float>& values) {
    for (std::size_t column = 13; column + 12 <= line.size(); column += 12) {
        values.push_back(std::strtof(line.substr(column, 12).c_str(), nullptr));
    }
}

std::string stepOf(const std::string& head, const std::string& mode) {
    const bool isModal = head.substr(63, 5) == "MODAL";
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s %d %s=%.12g", isModal ? "Mode" : "Step",
                  std::stoi(isModal ? mode : head.substr(58, 5)), isModal ? "f" : "t",
                  std::strtod(head.substr(12, 12).c_str(), nullptr));
    return text.data();
}

ResultText read(const std::string& path) {
    ResultText text;
    std::ifstream file(path);
    std::string line;
    std::string mode;
    char block = ' ';
    ElementBlock* element = nullptr;
    std::vector<float>* values = nullptr;
    while (std::getline(file, line)) {
        const std::string head = line.substr(0, 6);
        const std::string key = line.substr(0, 3);
        if (head == "    2C" || head == "    3C") {
            block = line[4];
        } else if (head == "  100C") {
            block = 'r';
            text.results.push_back({});
            text.results.back().step = stepOf(line, mode);
        } else if (line.substr(0, 9) == "    1UMAT") {
            text.materials[std::stoi(line.substr(9, 5))] = trimmed(line.substr(14));
        } else if (line.substr(0, 10) == "    1PMODE") {
            mode = line.substr(10);
        } else if (key == " -4") {
            text.results.back().name = trimmed(line.substr(5, 8));
        } else if (key == " -5" && (line.size() < 38 || line.substr(33, 5) != "    1")) {
            text.results.back().components.push_back(trimmed(line.substr(5, 8)));
            text.results.back().kinds.insert(std::stoi(line.substr(18, 5)));
        } else if (key == " -1" && block == '2') {
            text.nodeIds.push_back(static_cast<std::uint32_t>(std::stoul(line.substr(3, 10))));
            appendValues(line, text.coordinates);
        } else if (key == " -1" && block == '3') {
            element =
                &text.elements[{std::stoi(line.substr(23, 5)), std::stoi(line.substr(13, 5))}];
            element->ids.push_back(static_cast<std::uint32_t>(std::stoul(line.substr(3, 10))));
        } else if (key == " -2" && block == '3') {
            for (std::size_t column = 3; column + 10 <= line.size(); column += 10) {
                element->nodes.push_back(
                    static_cast<std::uint32_t>(std::stoul(line.substr(column, 10))));
            }
        } else if (key == " -1") {
            const auto id = static_cast<std::uint32_t>(std::stoul(line.substr(3, 10)));
            values = &text.results.back().values[id];
            appendValues(line, *values);
        } else if (key == " -2") {
            appendValues(line, *values);
        }
    }
    return text;
}

/// One deck of the solver's own, and what it must bring along to be worth the test.
struct Deck {
    const char* name;
    const char* shape;  ///< one that the model has
    const char* result; ///< name of a result
    const char* step;   ///< how the name of its step begins
    unsigned type;      ///< kind of variable of that result
    bool asksForResults = true;
};

void PrintTo(const Deck& deck, std::ostream* stream) { *stream << deck.name; }

class RoundTrip : public ConverterTest, public ::testing::WithParamInterface<Deck> {
protected:
    /// Solves the deck; one that asks for no results gets a request into each step.
    void solve(const Deck& deck) const {
        const std::string request = "s/^\\*END STEP/*NODE FILE\\nNT\\n*EL FILE\\nHFL\\n&/";
        const std::string name = deck.name;
        const Run result = run("gzip -dcf " CCX_DECKS "/" + name + ".inp* | sed '" +
                               (deck.asksForResults ? "" : request) + "' > job.inp && " +
                               "OMP_NUM_THREADS=1 ccx -i job");
        ASSERT_EQ(result.exitCode, 0)
            << "(decks: Debian package calculix-ccx-test) " << result.output;
    }

    static const MekReader::Node& shapeOf(const MekReader::File& file, const ResultText& text,
                                          std::pair<int, int> key) {
        static const char* const types[] = {"HE8", "PE6", "TE4", "HE20", "PE15", "TE10",
                                            "TR3", "TR6", "QU4", "QU8",  "BE2",  "BE3"};
        const auto material = text.materials.find(key.first);
        return geometry(
            file, "job/" +
                      (material == text.materials.end() ? "Material " + std::to_string(key.first)
                                                        : material->second) +
                      "/" + types[key.second - 1]);
    }

    static void compareElements(MekReader::File& file, const MekReader::Node& shape,
                                const ResultText& text, const ElementBlock& elements) {
        std::vector<std::uint32_t> nodes;
        for (const std::uint32_t row : file.words(variable(shape, "Connectivity"))) {
            nodes.push_back(text.nodeIds.at(row));
        }
        const std::size_t count = elements.ids.size();
        const auto perElement = static_cast<std::uint32_t>(elements.nodes.size() / count);
        EXPECT_EQ(nodes, elements.nodes);
        EXPECT_EQ(file.words(variable(shape, "Element IDs")), elements.ids);
        EXPECT_EQ(file.words(variable(shape, "Polylength")),
                  std::vector<std::uint32_t>(count, perElement));
    }

    static void compareResult(MekReader::File& file, const MekReader::Node& shape,
                              const ResultText& text, const ResultBlock& result) {
        const std::size_t width = result.components.size();
        const bool isOne = width == 1 || (width == 3 && result.kinds == std::set<int>{2}) ||
                           (width == 6 && result.kinds == std::set<int>{4});
        for (std::size_t first = 0; first < width; first += isOne ? width : 1) {
            const std::size_t columns = isOne ? width : 1;
            std::vector<float> expected;
            for (const std::uint32_t id : text.nodeIds) {
                const auto found = result.values.find(id);
                for (std::size_t i = first; i < first + columns; ++i) {
                    expected.push_back(found == result.values.end() ? missing
                                                                    : found->second.at(i));
                }
            }
            const std::string name = result.name + (isOne ? "" : "." + result.components[first]);
            const auto& written = variable(shape, name, result.step);
            EXPECT_EQ(file.owner(written).width, columns) << name;
            EXPECT_EQ(bitsOf(file.floats(written)), bitsOf(expected)) << name << " " << result.step;
        }
    }
};

TEST_P(RoundTrip, ModelSaysWhatTheResultFileSays) {
#if defined(_WIN32)
    GTEST_SKIP() << "the solver runs on Linux";
#endif
    const Deck deck = GetParam();
    solve(deck);
    const Run run = convert("job.frd");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    MekReader::check(path("job.mek"));

    const ResultText text = read(path("job.frd"));
    MekReader::File file(path("job.mek"));
    ASSERT_FALSE(text.results.empty());
    for (const auto& [key, elements] : text.elements) {
        const MekReader::Node& shape = shapeOf(file, text, key);
        EXPECT_EQ(file.words(variable(shape, "Node Ids")), text.nodeIds);
        EXPECT_EQ(bitsOf(file.floats(variable(shape, "Coordinates"))), bitsOf(text.coordinates));
        compareElements(file, shape, text, elements);
        for (const ResultBlock& result : text.results) {
            compareResult(file, shape, text, result);
        }
    }
    const std::string wanted = std::string(deck.result) + '\x1E' + deck.step;
    const auto& variables = geometry(file, std::string("job/") + deck.shape).variables;
    EXPECT_TRUE(std::any_of(variables.begin(), variables.end(), [&](const auto& each) {
        return each.type == deck.type && each.name.substr(0, wanted.size()) == wanted;
    })) << wanted;
}

INSTANTIATE_TEST_SUITE_P(
    Decks, RoundTrip,
    ::testing::Values(Deck{"oneel", "EL/QU8", "STRESS", "Step 1 t=1", 14},        // plane
                      Deck{"section", "EL/BE3", "DISP", "Step 1 t=1", 13},        // beams
                      Deck{"gap2", "GAP/BE2", "FORC", "Step 1 t=1", 13},          // two materials
                      Deck{"scheibe2f2f", "EL/HE8", "CONTACT", "Step 1 t=1", 14}, // missing values
                      Deck{"fricloop", "EL/HE8", "STRESS", "Step 39 t=5", 14},    // many increments
                      Deck{"sc123", "SINGLE_CRYSTAL/HE20", "SDV.SDV60", "Step 14 t=72", 12},
                      Deck{"boxprofile", "STEEL/HE20", "DISP", "Mode 5 f=", 13}, // static, modal
                      Deck{"segment", "EL/HE20", "DISPI", "Mode 9 f=", 13},      // complex modes
                      Deck{"beamhtfc", "GAS/BE3", "NDTEMP", "Step 1 t=1", 12, false}, // heat, flow
                      Deck{"dam", "MAT2/QU8", "FLUX", "Step 1 t=1", 13, false}),      // heat, plane
    [](const auto& deck) { return std::string(deck.param.name); });

} // namespace
