#include "mekinfo/print.hpp"

#include "mekreader/quotes.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <limits>
#include <string>
#include <string_view>

namespace MekInfo {

namespace {

using MekReader::Block;
using MekReader::File;
using MekReader::inQuotes;
using MekReader::Node;
using MekReader::Variable;

constexpr std::size_t indentStep = 2;

template <class Values>
void printValues(std::ostream& out, const char* name, const Values& values) {
    out << "  " << name;
    for (const auto& value : values) {
        out << ' ' << value;
    }
}

void printAttribute(std::ostream& out, const MekReader::AttributeValue& value) {
    if (const auto* const string = std::get_if<std::string>(&value)) {
        out << inQuotes(*string);
    } else if (const auto* const number = std::get_if<std::uint32_t>(&value)) {
        out << *number;
    } else if (const auto* const single = std::get_if<float>(&value)) {
        out << *single << 'f';
    } else {
        out << std::setprecision(std::numeric_limits<double>::digits10) << std::get<double>(value)
            << std::setprecision(6);
    }
}

void printAttributes(std::ostream& out, const std::string& indent,
                     const MekReader::AttributeList& attributes) {
    for (const auto& [key, value] : attributes) {
        out << indent << inQuotes(key) << " = ";
        printAttribute(out, value);
        out << '\n';
    }
}

void printHeader(std::ostream& out, const File& file) {
    out << "container 1.3, " << file.container().fileSize() << " bytes\n";
    for (const MekReader::Modifier& modifier : file.modifiers()) {
        out << "written " << modifier.date;
        if (!modifier.toolName.empty()) {
            out << " by " << inQuotes(modifier.toolName) << ' ' << inQuotes(modifier.toolVersion);
        }
        if (!modifier.comment.empty()) {
            out << ", " << inQuotes(modifier.comment);
        }
        out << '\n';
    }
}

std::string flagsOf(const Block& block) {
    std::string flags = (block.flags & Block::compressFlag) != 0 ? "compressed" : "";
    if ((block.flags & Block::freezeFlag) != 0) {
        flags += flags.empty() ? "frozen" : " frozen";
    }
    return flags;
}

void printBlocks(std::ostream& out, const File& file) {
    out << "\nblocks\n"
        << std::right << std::setw(8) << "number"
        << "  " << std::left << std::setw(20) << "name" << std::right << std::setw(14) << "position"
        << std::setw(12) << "stored" << std::setw(12) << "raw"
        << "  flags\n";
    std::uint64_t emptyBlocks = 0;
    for (const Block& block : file.blocks()) {
        if (block.isEmpty()) {
            ++emptyBlocks;
            continue;
        }
        out << std::right << std::setw(8) << block.number << "  " << std::left << std::setw(20)
            << (block.isIndex() ? "(index)" : block.name) << std::right << std::setw(14)
            << block.position << std::setw(12) << block.storedLength << std::setw(12)
            << block.rawLength << "  " << flagsOf(block) << '\n';
    }
    out << "  and " << emptyBlocks << " empty\n";
}

void printGroup(std::ostream& out, const std::string& indent, const MekReader::Group& group) {
    out << indent;
    printValues(out, "translation", group.translation);
    printValues(out, "rotation", group.rotation);
    printValues(out, "scale", group.scale);
    out << (group.rootFlag != 0 ? "  root flag\n" : "\n");
    printAttributes(out, indent + "  ", group.attributes);
}

void printMaterial(std::ostream& out, const std::string& indent,
                   const MekReader::Material& material) {
    out << indent;
    printValues(out, "diffuse", material.diffuseColor);
    printValues(out, "specular", material.specularColor);
    out << '\n' << indent;
    printValues(out, "emissive", material.emissiveColor);
    printValues(out, "ambient", material.ambientColor);
    out << '\n'
        << indent << "  transparency " << material.transparency << "  shininess "
        << material.shininess << (material.materialFlag ? "  flag on\n" : "  flag off\n");
}

/// Smallest and largest value, and the number of NaN.
template <class T>
void printRange(std::ostream& out, const std::vector<T>& values) {
    T smallest = std::numeric_limits<T>::max();
    T largest = std::numeric_limits<T>::lowest();
    std::uint64_t nanCount = 0;
    for (const T value : values) {
        if (std::isnan(static_cast<double>(value))) {
            ++nanCount;
        } else {
            smallest = std::min(smallest, value);
            largest = std::max(largest, value);
        }
    }
    if (nanCount < values.size()) {
        out << ", " << smallest << " to " << largest;
    }
    if (nanCount > 0) {
        out << ", " << nanCount << " NaN";
    }
}

void printData(std::ostream& out, File& file, const Variable& variable) {
    const bool isFloat = variable.elementType == Variable::floatElements;
    out << variable.rows() << " x " << int{variable.width} << (isFloat ? " float" : " unsigned");
    if (isFloat) {
        printRange(out, file.floats(variable));
    } else {
        printRange(out, file.words(variable));
    }
}

void printVariables(std::ostream& out, const std::string& indent, File& file, const Node& node) {
    for (std::size_t index = 0; index < node.variables.size(); ++index) {
        const Variable& variable = node.variables[index];
        out << indent << '[' << index << "] " << inQuotes(variable.name) << " type "
            << variable.type << ": ";
        if (variable.linked) {
            out << "link to [" << variable.linkedVariableIndex << "] of node "
                << variable.linkedNodeId
                << (file.hasCircularLinks(variable) ? ", no array: the links form a circle" : "");
        } else {
            printData(out, file, variable);
        }
        out << (variable.vibration ? ", vibration\n" : "\n");
        printAttributes(out, indent + "    ", variable.attributes);
    }
}

void printNode(std::ostream& out, File& file, const Node& node, std::size_t depth) {
    const std::string indent((depth + 1) * indentStep, ' ');
    out << indent << node.id << ' ' << (node.type.empty() ? "(no type)" : node.type) << ' '
        << inQuotes(node.name) << '\n';
    if (node.group) {
        printGroup(out, indent, *node.group);
    }
    if (node.material) {
        printMaterial(out, indent, *node.material);
    }
    printVariables(out, indent + "  ", file, node);
}

void printTree(std::ostream& out, File& file) {
    const std::vector<Node>& nodes = file.nodes();
    out << "\ntree of " << nodes.size() << (nodes.size() == 1 ? " node\n" : " nodes\n");
    // depth first, without recursion: a tree may be as deep as it has nodes
    struct Pending {
        std::uint32_t id;
        std::size_t depth;
    };
    std::vector<Pending> waiting{{1, 0}};
    std::size_t printed = 0;
    while (!waiting.empty() && printed++ < nodes.size()) {
        const Pending next = waiting.back();
        waiting.pop_back();
        if (next.id == 0 || next.id > nodes.size()) {
            continue;
        }
        const Node& node = nodes[next.id - 1];
        printNode(out, file, node, next.depth);
        if (next.id != 1 && node.nextSibling != 0) {
            waiting.push_back({node.nextSibling, next.depth});
        }
        if (node.firstChild != 0) {
            waiting.push_back({node.firstChild, next.depth + 1});
        }
    }
}

} // namespace

void print(std::ostream& out, File& file) {
    printHeader(out, file);
    printBlocks(out, file);
    printTree(out, file);
}

} // namespace MekInfo
