#include "meknames/lookup.hpp"

#include "mekreader/error.hpp"
#include "mekreader/quotes.hpp"
#include "mekreader/variables.hpp"

#include <algorithm>

namespace MekNames {

namespace {

using MekReader::inQuotes;
using MekReader::Node;
using MekReader::splitName;
using MekReader::Variable;
using MekReader::VariableName;

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// The first names in quotes, each once; "none" if there are none.
class NameList {
public:
    void add(std::string_view name) {
        std::string quoted = inQuotes(name);
        if (std::find(names_.begin(), names_.end(), quoted) != names_.end()) {
            return;
        }
        if (names_.size() < mostNames) {
            names_.push_back(std::move(quoted));
        } else {
            hasMore_ = true;
        }
    }

    /// Whether further names change nothing.
    bool isFull() const { return hasMore_; }

    std::string text() const {
        std::string text;
        for (const std::string& name : names_) {
            text += (text.empty() ? "" : ", ") + name;
        }
        return text.empty() ? "none" : text + (hasMore_ ? ", ..." : "");
    }

private:
    static constexpr std::size_t mostNames = 8;

    std::vector<std::string> names_;
    bool hasMore_ = false;
};

/// The nodes that have variables.
std::string listPaths(const Tree& tree) {
    NameList names;
    for (const Node& node : tree.file().nodes()) {
        if (!node.variables.empty() && !names.isFull()) {
            names.add(tree.shapePathOf(node));
        }
    }
    return names.text();
}

std::string listQuantities(const Node& geometry) {
    NameList names;
    for (const Variable& variable : geometry.variables) {
        names.add(splitName(variable.name).quantity);
    }
    return names.text();
}

std::string listSteps(const Node& geometry, std::string_view quantity) {
    NameList names;
    for (const Variable& variable : geometry.variables) {
        const VariableName name = splitName(variable.name);
        if (name.quantity == quantity && name.step) {
            names.add(*name.step);
        }
    }
    return names.text();
}

[[noreturn]] void failWithoutStep(const Node& geometry, std::string_view quantity,
                                  std::optional<std::string_view> step) {
    throw NotFound("variable " + inQuotes(quantity) + " has no array " +
                   (step ? "of step " + inQuotes(*step) : std::string("without a step")) +
                   "; steps: " + listSteps(geometry, quantity));
}

} // namespace

Tree::Tree(const MekReader::File& file) : file_(file), children_(file.nodes().size()) {
    std::uint32_t id = 0;
    for (const Node& node : file.nodes()) {
        ++id;
        // parents with smaller ids cannot form a circle
        if (node.id != id || node.parent >= id || (node.parent == 0) != (id == 1)) {
            throw MekReader::Error("node " + std::to_string(id) + ": invalid id " +
                                   std::to_string(node.id) + " or parent " +
                                   std::to_string(node.parent));
        }
        if (node.parent != 0) {
            children_[node.parent - 1].push_back(&node);
        }
    }
}

const Node* Tree::find(std::string_view path) const {
    struct Candidate {
        const Node* node;
        std::string_view rest; ///< of the path, from the name of the node on
    };
    if (file_.nodes().empty()) {
        return nullptr;
    }
    std::vector<Candidate> waiting{
        {&file_.nodes().front(), path.substr(startsWith(path, "/") ? 1 : 0)}};
    while (!waiting.empty()) {
        const auto [node, rest] = waiting.back();
        waiting.pop_back();
        if (rest == node->name) {
            return node;
        }
        if (!startsWith(rest, node->name + "/")) {
            continue;
        }
        const std::string_view below = rest.substr(node->name.size() + 1);
        const auto& children = children_[node->id - 1];
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            waiting.push_back({*child, below});
        }
    }
    return nullptr;
}

const Node* Tree::parentOf(const Node& node) const {
    return node.parent != 0 ? &file_.nodes()[node.parent - 1] : nullptr;
}

std::string Tree::pathOf(const Node& node) const {
    std::vector<const Node*> lineage;
    for (const Node* at = &node; at != nullptr; at = parentOf(*at)) {
        lineage.push_back(at);
    }
    std::string path;
    for (auto at = lineage.rbegin(); at != lineage.rend(); ++at) {
        path.append("/").append((*at)->name);
    }
    return path;
}

const Node& Tree::geometryOf(const Node& node) const {
    const auto& children = children_[node.id - 1];
    const auto geometry = std::find_if(children.begin(), children.end(),
                                       [](const Node* child) { return child->type == "Geometry"; });
    return node.type == "Shape" && geometry != children.end() ? **geometry : node;
}

std::string Tree::shapePathOf(const Node& node) const {
    const Node* const parent = parentOf(node);
    const bool isOfShape =
        parent != nullptr && parent->type == "Shape" && &geometryOf(*parent) == &node;
    return pathOf(isOfShape ? *parent : node);
}

const Variable& findVariable(const Tree& tree, std::string_view path, std::string_view quantity,
                             std::optional<std::string_view> step) {
    const Node* const node = tree.find(path);
    if (node == nullptr) {
        throw NotFound("no node " + inQuotes(path) + "; nodes with variables: " + listPaths(tree));
    }
    const Node& geometry = tree.geometryOf(*node);
    bool exists = false;
    for (const Variable& variable : geometry.variables) {
        const VariableName name = splitName(variable.name);
        if (name.quantity == quantity && name.step == step) {
            return variable;
        }
        exists = exists || name.quantity == quantity;
    }
    if (exists) {
        failWithoutStep(geometry, quantity, step);
    }
    if (geometry.variables.empty()) {
        throw NotFound("node " + inQuotes(path) +
                       " has no variables; nodes with variables: " + listPaths(tree));
    }
    throw NotFound("node " + inQuotes(path) + " has no variable " + inQuotes(quantity) +
                   "; variables: " + listQuantities(geometry));
}

} // namespace MekNames
