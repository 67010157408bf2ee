#include "mekinfo/summary.hpp"

#include "console/count.hpp"
#include "console/error.hpp"
#include "mekinfo/contentsize.hpp"
#include "mekinfo/table.hpp"
#include "meklint/meshes.hpp"
#include "meknames/lookup.hpp"
#include "mekreader/quotes.hpp"
#include "mekreader/variables.hpp"
#include "mekvtu/timeline.hpp"

#include <algorithm>
#include <iomanip>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

namespace MekInfo {

namespace {

using Console::counted;
using MekReader::File;
using MekReader::Node;
using MekReader::Variable;

constexpr std::size_t mostRows = 5; ///< of a table

/// A shape with variables.
struct Shape {
    const Node* geometry = nullptr;
    std::optional<std::uint64_t> nodes{};
    std::optional<std::uint64_t> elements{};
    std::size_t results = 0;
};

struct Result {
    std::string name{};
    std::string place{};
    unsigned width = 0;
    std::set<std::string_view> steps{};
};

bool isResult(const Variable& variable, std::string_view quantity) {
    return variable.type >= MekReader::VariableType::firstNodeResult && quantity != "Node Ids" &&
           quantity != "Element IDs";
}

std::string placeOf(const Variable& variable) {
    if (MekReader::isNodeResult(variable)) {
        return "nodes";
    }
    return MekReader::isElementResult(variable) ? "elements" : "other";
}

/// Counts what the summary shows. Meshes are those of the first step.
class Survey {
public:
    explicit Survey(const File& file) : tree_(file), timeline_(MekVtu::timeline(file)) {
        for (const Node& node : file.nodes()) {
            groups_ += node.type == "Group" ? 1 : 0;
            shapeCount_ += node.type == "Shape" ? 1 : 0;
            if (!node.variables.empty()) {
                addShape(node);
            }
        }
    }

    const MekNames::Tree& tree() const { return tree_; }
    const MekVtu::Timeline& timeline() const { return timeline_; }
    std::uint64_t groups() const { return groups_; }
    std::uint64_t shapeCount() const { return shapeCount_; }
    std::uint64_t elements() const { return elements_; }
    const std::vector<Shape>& shapes() const { return shapes_; }
    const std::vector<Result>& results() const { return results_; }

    /// Shapes can share their nodes.
    std::uint64_t nodes() const {
        std::uint64_t nodes = 0;
        for (const Variable* const owner : coordinates_) {
            nodes += owner->rows();
        }
        return nodes;
    }

    std::size_t steps() const {
        const bool hasNone = timeline_.steps.front().name.empty();
        return hasNone ? 0 : timeline_.steps.size();
    }

private:
    void addShape(const Node& geometry) {
        shapes_.push_back({&geometry});
        const auto mesh = MekLint::Meshes(geometry).at(timeline_.steps.front().name);
        if (mesh.coordinates != nullptr) {
            coordinates_.insert(MekLint::ownerOf(*mesh.coordinates));
            shapes_.back().nodes = MekLint::rowsOf(*mesh.coordinates);
        }
        if (mesh.connectivity != nullptr) {
            shapes_.back().elements = MekLint::countElements(mesh, geometry.name);
            elements_ += shapes_.back().elements.value_or(0);
        }
        shapes_.back().results = addResults(geometry);
    }

    /// @return number of quantities
    std::size_t addResults(const Node& geometry) {
        std::set<std::string_view> quantities;
        for (const Variable& variable : geometry.variables) {
            const MekReader::VariableName name = MekReader::splitName(variable.name);
            if (!isResult(variable, name.quantity)) {
                continue;
            }
            quantities.insert(name.quantity);
            const auto [known, isNew] = resultIndexes_.try_emplace(name.quantity, results_.size());
            if (isNew) {
                const Variable* const owner = MekLint::ownerOf(variable);
                results_.push_back({std::string(name.quantity), placeOf(variable),
                                    owner != nullptr ? owner->width : 0U});
            }
            if (name.step) {
                results_[known->second].steps.insert(*name.step);
            }
        }
        return quantities.size();
    }

    MekNames::Tree tree_;
    MekVtu::Timeline timeline_;
    std::uint64_t groups_ = 0;
    std::uint64_t shapeCount_ = 0;
    std::uint64_t elements_ = 0;
    std::set<const Variable*> coordinates_; ///< owners
    std::vector<Shape> shapes_;
    std::vector<Result> results_;
    std::map<std::string_view, std::size_t> resultIndexes_;
};

void printLine(std::ostream& out, const char* title, const std::string& text) {
    constexpr int titleWidth = 9;
    out << std::left << std::setw(titleWidth) << title << Console::printable(text) << '\n';
}

void printWriter(std::ostream& out, const File& file) {
    if (file.modifiers().empty()) {
        return;
    }
    const MekReader::Modifier& modifier = file.modifiers().back();
    const std::string tool = modifier.toolName + ' ' + modifier.toolVersion;
    printLine(out, "tool", tool == " " ? "-" : tool);
    printLine(out, "date", modifier.date);
}

std::string sizesOf(const File& file) {
    const std::uint64_t size = file.container().fileSize();
    const std::uint64_t content = contentSizeOf(file);
    std::ostringstream text;
    text << counted(size, "byte") << ", " << counted(content, "byte")
         << " uncompressed, compression ratio " << std::fixed << std::setprecision(2)
         << static_cast<double>(content) / static_cast<double>(size);
    return text.str();
}

std::string stepsOf(const Survey& survey) {
    std::string text = std::to_string(survey.steps());
    if (survey.steps() == 0) {
        return text;
    }
    const std::vector<MekVtu::TimeStep>& steps = survey.timeline().steps;
    text += ", " + MekReader::inQuotes(steps.front().name);
    if (steps.size() > 1) {
        text += " to " + MekReader::inQuotes(steps.back().name);
    }
    if (survey.timeline().isByAttributes) {
        text += ", time " + MekVtu::formatNumber(steps.front().time);
        text += steps.size() > 1 ? " to " + MekVtu::formatNumber(steps.back().time) : "";
    }
    return text;
}

/// Prints the first entries as a table, if there are any.
template <class Entry, class Cells>
void printFirst(std::ostream& out, const std::vector<Column>& columns,
                const std::vector<Entry>& entries, const Cells& cellsOf) {
    if (entries.empty()) {
        return;
    }
    const std::size_t rows = entries.size() <= mostRows ? entries.size() : mostRows - 1;
    out << '\n';
    printTable(out, columns, [&](const auto& visit) {
        for (std::size_t i = 0; i < rows; ++i) {
            visit(cellsOf(entries[i]));
        }
    });
    if (rows < entries.size()) {
        out << "and " << entries.size() - rows << " more\n";
    }
}

std::string shown(const std::optional<std::uint64_t>& count) {
    return count ? std::to_string(*count) : "-";
}

void printShapes(std::ostream& out, const Survey& survey) {
    printFirst(
        out,
        {{"shape"}, {"nodes", Align::Right}, {"elements", Align::Right}, {"results", Align::Right}},
        survey.shapes(), [&survey](const Shape& shape) {
            return Row{Console::printable(survey.tree().shapePathOf(*shape.geometry)),
                       shown(shape.nodes), shown(shape.elements), std::to_string(shape.results)};
        });
}

void printResults(std::ostream& out, const std::vector<Result>& results) {
    printFirst(out, {{"result"}, {"of"}, {"components", Align::Right}, {"steps", Align::Right}},
               results, [](const Result& result) {
                   return Row{Console::printable(result.name), result.place,
                              result.width == 0 ? "-" : std::to_string(result.width),
                              std::to_string(result.steps.size())};
               });
}

} // namespace

void printSummary(std::ostream& out, const File& file, const std::string& name) {
    const Survey survey(file);
    printLine(out, "file", name);
    printWriter(out, file);
    printLine(out, "size", sizesOf(file));
    printLine(out, "tree",
              counted(survey.groups(), "group") + ", " + counted(survey.shapeCount(), "shape"));
    printLine(out, "mesh",
              counted(survey.nodes(), "node") + ", " + counted(survey.elements(), "element"));
    printLine(out, "steps", stepsOf(survey));
    printLine(out, "results", std::to_string(survey.results().size()));
    printShapes(out, survey);
    printResults(out, survey.results());
}

} // namespace MekInfo
