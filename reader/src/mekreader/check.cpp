#include "mekreader/blockerror.hpp"
#include "mekreader/model.hpp"

#include <algorithm>
#include <array>
#include <set>

namespace MekReader {

namespace {

constexpr std::array<std::string_view, 6> streamNames = {
    "Heavy Data", "Mek Tree", "Light Data", "Attributes", "Resources", "Global Information"};

/// Values per row by variable type; 0 for types that do not exist.
constexpr std::array<std::uint8_t, 29> widths = {0, 3, 0, 0, 1, 1, 1, 0, 0, 1, 0, 0, 1, 3, 6,
                                                 6, 1, 3, 6, 6, 1, 3, 6, 6, 1, 1, 3, 6, 6};

std::string describe(const Node& node) {
    return "node " + std::to_string(node.id) + " (\"" + node.name + "\")";
}

[[noreturn]] void fail(const Node& node, const std::string& reason) {
    throw Error(describe(node) + ": " + reason);
}

[[noreturn]] void fail(const Node& node, const Variable& variable, const std::string& reason) {
    throw Error(describe(node) + ", variable \"" + variable.name + "\": " + reason);
}

bool isHeavy(const Block& block) { return block.name == "Heavy Data"; }

/// The order of streams is fixed: datasets while the model is built, then the tree, last the global
/// information.
void checkStreamOrder(const Container& container) {
    std::vector<std::string_view> order;
    for (const Block& block : container.blocks()) {
        if (block.isEmpty() || block.isIndex()) {
            continue;
        }
        if (std::find(streamNames.begin(), streamNames.end(), block.name) == streamNames.end()) {
            fail(block, "unknown stream name");
        }
        const bool isNew = std::find(order.begin(), order.end(), block.name) == order.end();
        if (isHeavy(block) && !order.empty() && order.back() != block.name) {
            fail(block, "a block of datasets follows a block of another stream");
        }
        if (isNew) {
            order.emplace_back(block.name);
        }
    }
    const bool hasHeavyData = !order.empty() && order.front() == "Heavy Data";
    const std::size_t tree = hasHeavyData ? 1 : 0;
    if (order.size() <= tree || order[tree] != "Mek Tree") {
        throw Error("\"Mek Tree\" does not follow the datasets");
    }
    if (order.back() != "Global Information") {
        throw Error("\"Global Information\" is not the last stream");
    }
}

/// The flags are the last field of an entry: those of the last entry are missing if writing stopped
/// there.
[[noreturn]] void failUncompressed(const Container& container, const Block& block) {
    const bool isLast = container.blocks().at(block.number + 1).isEmpty();
    if (isLast && block.flags == 0) {
        throw Unfinished("the entry of block " + std::to_string(block.number) + " is incomplete");
    }
    fail(block, "it is not compressed");
}

void checkBlocks(Container& container) {
    for (const Block& block : container.blocks()) {
        if (block.isEmpty() || block.isIndex()) {
            continue;
        }
        if (!block.isCompressed()) {
            failUncompressed(container, block);
        }
        if ((block.flags & Block::freezeFlag) != 0 && !isHeavy(block)) {
            fail(block, "only blocks of datasets may have the flag 20");
        }
        container.readContent(block, [](std::string_view) {});
    }
}

std::string versionOf(const Node& node) {
    if (node.type == "Group") {
        return "0.4";
    }
    if (node.type == "Shape") {
        return "0.2";
    }
    return node.type == "Geometry" ? "0.7" : "";
}

void checkKind(const Node& node) {
    if (node.version != versionOf(node)) {
        fail(node, "type \"" + node.type + "\" does not have the version \"" + node.version + "\"");
    }
    if (node.type.empty() && !node.name.empty()) {
        fail(node, "it has a name but no type");
    }
    if (node.group && node.group->rootFlag > (node.id == 1 ? 1 : 0)) {
        fail(node, "the root flag is invalid");
    }
}

/// The links follow from the parents alone, because children are ordered by their ids.
void checkLinks(const std::vector<Node>& nodes) {
    std::vector<Node> expected(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        if (node.id != i + 1) {
            fail(node, "its id should be " + std::to_string(i + 1));
        }
        if (i == 0 ? node.parent != 0 : node.parent == 0 || node.parent >= node.id) {
            fail(node, "invalid parent " + std::to_string(node.parent));
        }
        if (i == 0) {
            continue;
        }
        Node& parent = expected[node.parent - 1];
        if (parent.lastChild == 0) {
            parent.firstChild = node.id;
        } else {
            expected[parent.lastChild - 1].nextSibling = node.id;
        }
        expected[i].previousSibling = parent.lastChild;
        parent.lastChild = node.id;
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Node& node = nodes[i];
        const Node& wanted = expected[i];
        if (node.previousSibling != wanted.previousSibling ||
            node.nextSibling != wanted.nextSibling || node.firstChild != wanted.firstChild ||
            node.lastChild != wanted.lastChild) {
            fail(node, "its links to siblings or children contradict the parents of other nodes");
        }
    }
}

void checkDataset(const File& file, const Node& node, const Variable& variable) {
    const std::uint64_t rowSize = std::uint64_t{4} * variable.width;
    if (variable.width != widths[variable.type]) {
        fail(node, variable, "the width does not match the type");
    }
    if (variable.byteSize == 0 || variable.byteSize % rowSize != 0) {
        fail(node, variable, "its size is not a whole number of rows");
    }
    if (!file.container().holds("Heavy Data", variable.offset, variable.byteSize)) {
        fail(node, variable, "no block contains its dataset");
    }
}

void checkVariables(const File& file, const Node& node) {
    std::set<std::string_view> names;
    for (const Variable& variable : node.variables) {
        if (!names.insert(variable.name).second) {
            fail(node, variable, "the name occurs twice");
        }
        if (variable.type >= widths.size() || widths[variable.type] == 0) {
            fail(node, variable, "unknown variable type " + std::to_string(variable.type));
        }
        if (variable.elementType != Variable::floatElements &&
            variable.elementType != Variable::unsignedElements) {
            fail(node, variable, "unknown element type");
        }
        if (!variable.linked) {
            checkDataset(file, node, variable);
        } else if (!file.hasCircularLinks(variable)) {
            file.owner(variable); // raises if the target of a link does not exist
        }
    }
}

void checkModifiers(const File& file) {
    if (file.modifiers().size() != 1) {
        throw Error("\"Global Information\" lists " + std::to_string(file.modifiers().size()) +
                    " modifiers, expected one");
    }
    if (file.modifiers().front().formatVersion != "1.3") {
        throw Error("\"Global Information\": the format version is not 1.3");
    }
}

} // namespace

void check(const std::filesystem::path& path) {
    // blocks first: reading the model relies on their lengths
    {
        Container container(path);
        checkStreamOrder(container);
        checkBlocks(container);
    }
    const File file(path);
    if (file.nodes().empty()) {
        throw Error("\"Mek Tree\" has no root");
    }
    checkLinks(file.nodes());
    for (const Node& node : file.nodes()) {
        checkKind(node);
        checkVariables(file, node);
    }
    checkModifiers(file);
}

} // namespace MekReader
