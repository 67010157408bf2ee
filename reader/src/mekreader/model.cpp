#include "mekreader/model.hpp"

#include "mekreader/bytecursor.hpp"
#include "mekreader/error.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace MekReader {

namespace {

constexpr std::uint64_t nodeRecordSize = 6 * 4 + 3 * 4 + 8;     // with empty strings
constexpr std::uint64_t variableRecordSize = 4 + 4 + 1 + 8 + 1; // of a link with an empty name
constexpr std::uint32_t materialRecordSize = 84;
constexpr std::size_t largestString = 256;

template <std::size_t Size>
std::array<float, Size> floatArray(ByteCursor& cursor, const char* field) {
    std::array<float, Size> values{};
    for (float& value : values) {
        value = cursor.f32(field);
    }
    return values;
}

/// A count and that many elements.
template <class Take>
auto listed(ByteCursor& cursor, const char* field, std::uint64_t elementSize, const Take& take) {
    std::vector<decltype(take())> values;
    const std::uint32_t count = cursor.count(field, elementSize);
    for (std::uint32_t i = 0; i < count; ++i) {
        values.push_back(take());
    }
    return values;
}

/// Returns the elements of a list one by one.
template <class T>
class ListCursor {
public:
    ListCursor(std::vector<T> values, const char* kind) : values_(std::move(values)), kind_(kind) {}

    T next(const ByteCursor& cursor) {
        if (next_ == values_.size()) {
            cursor.fail(std::string("fewer ") + kind_ + " than types");
        }
        return values_[next_++];
    }
    void expectEnd(const ByteCursor& cursor) const {
        if (next_ != values_.size()) {
            cursor.fail(std::string("more ") + kind_ + " than types");
        }
    }

private:
    std::vector<T> values_;
    const char* kind_;
    std::size_t next_ = 0;
};

/// The values of an attribute list, stored by type: unsigned, float, double, string.
class ValueCursor {
public:
    explicit ValueCursor(ByteCursor& cursor)
        : unsignedValues_(listed(cursor, "unsigned values", 4, [&] { return cursor.u32("value"); }),
                          "unsigned values"),
          floats_(listed(cursor, "floats", 4, [&] { return cursor.f32("value"); }), "floats"),
          doubles_(listed(cursor, "doubles", 8, [&] { return cursor.f64("value"); }), "doubles"),
          strings_(listed(cursor, "strings", 4, [&] { return cursor.string("value"); }),
                   "strings") {}

    AttributeValue next(std::uint8_t type, const ByteCursor& cursor) {
        switch (type) {
            case 0:
                return unsignedValues_.next(cursor);
            case 1:
                return floats_.next(cursor);
            case 2:
                return nextString(cursor);
            case 3:
                return doubles_.next(cursor);
            default:
                cursor.fail("unknown attribute type " + std::to_string(type));
        }
    }

    void expectEnd(const ByteCursor& cursor) const {
        unsignedValues_.expectEnd(cursor);
        floats_.expectEnd(cursor);
        doubles_.expectEnd(cursor);
        strings_.expectEnd(cursor);
    }

private:
    std::string nextString(const ByteCursor& cursor) {
        std::string value = strings_.next(cursor);
        if (value.size() > largestString || value.find('\0') != std::string::npos) {
            cursor.fail("a string attribute is longer than 256 bytes or contains NUL");
        }
        return value;
    }

    ListCursor<std::uint32_t> unsignedValues_;
    ListCursor<float> floats_;
    ListCursor<double> doubles_;
    ListCursor<std::string> strings_;
};

AttributeList attributeList(ByteCursor& cursor) {
    const auto keys = listed(cursor, "attribute keys", 4, [&] { return cursor.string("key"); });
    const auto types = listed(cursor, "attribute types", 1, [&] { return cursor.u8("type"); });
    if (keys.size() != types.size()) {
        cursor.fail("an attribute list has a different number of types and keys");
    }
    ValueCursor values(cursor);
    AttributeList list;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (!list.empty() && keys[i] <= list.rbegin()->first) {
            cursor.fail("the keys of an attribute list are not in ascending order");
        }
        list.emplace_hint(list.end(), keys[i], values.next(types[i], cursor));
    }
    values.expectEnd(cursor);
    return list;
}

Group readGroup(ByteCursor& light, ByteCursor& attributes) {
    Group group;
    group.translation = floatArray<3>(light, "translation");
    group.rotation = floatArray<4>(light, "rotation");
    group.scale = floatArray<3>(light, "scale");
    group.attributes = attributeList(attributes);
    group.rootFlag = light.u8("root flag");
    return group;
}

void expectVersion(ByteCursor& cursor, const char* expected) {
    if (cursor.string("version") != expected) {
        cursor.fail(std::string("the version is not ") + expected);
    }
}

Material readMaterial(ByteCursor& resources) {
    if (resources.u32("size of a material") != materialRecordSize) {
        resources.fail("the size of a material is not 84 bytes");
    }
    expectVersion(resources, "0.3");
    Material material;
    material.diffuseColor = floatArray<4>(resources, "diffuse colour");
    material.specularColor = floatArray<4>(resources, "specular colour");
    material.emissiveColor = floatArray<4>(resources, "emissive colour");
    material.ambientColor = floatArray<4>(resources, "ambient colour");
    material.transparency = resources.f32("transparency");
    material.shininess = resources.f32("shininess");
    material.materialFlag = resources.boolean("material flag");
    return material;
}

void readDescription(ByteCursor& light, Variable& variable) {
    variable.byteSize = light.u32("byte size");
    variable.width = light.u8("width");
    const bool options = light.boolean("first option") || light.boolean("second option");
    const bool values = light.u32("first value") != 0 || light.u32("second value") != 0;
    if (light.boolean("third option") || options || values) {
        light.fail("variable \"" + variable.name + "\" has a reserved field that is not 0");
    }
    variable.offset = light.u64("offset");
}

Variable readVariable(ByteCursor& light, ByteCursor& attributes) {
    Variable variable;
    variable.name = light.string("variable name");
    const std::uint32_t typeWord = light.u32("type word");
    variable.type = typeWord & 0xFFFFFF;
    variable.elementType = static_cast<std::uint8_t>(typeWord >> 24);
    variable.linked = light.boolean("link flag");
    if (variable.linked) {
        variable.linkedNodeId = light.u32("linked node");
        variable.linkedVariableIndex = light.u32("linked variable");
    } else {
        readDescription(light, variable);
    }
    variable.vibration = light.boolean("vibration flag");
    variable.attributes = attributeList(attributes);
    return variable;
}

std::vector<Variable> readVariables(ByteCursor& light, ByteCursor& attributes) {
    return listed(light, "variables", variableRecordSize,
                  [&] { return readVariable(light, attributes); });
}

Node readRecord(ByteCursor& tree) {
    Node node;
    node.id = tree.u32("id");
    node.parent = tree.u32("parent");
    node.previousSibling = tree.u32("previous sibling");
    node.nextSibling = tree.u32("next sibling");
    node.firstChild = tree.u32("first child");
    node.lastChild = tree.u32("last child");
    node.name = tree.string("node name");
    node.type = tree.string("node type");
    node.version = tree.string("node version");
    node.lightOffset = tree.u64("light offset");
    return node;
}

std::vector<Node> readNodes(Container& container) {
    const std::string treeBytes = container.stream("Mek Tree");
    const std::string lightBytes = container.stream("Light Data");
    const std::string attributeBytes = container.stream("Attributes");
    const std::string resourceBytes = container.stream("Resources");
    ByteCursor tree(treeBytes, "\"Mek Tree\"");
    ByteCursor light(lightBytes, "\"Light Data\"");
    ByteCursor attributes(attributeBytes, "\"Attributes\"");
    ByteCursor resources(resourceBytes, "\"Resources\"");
    std::vector<Node> nodes;
    const std::uint32_t count = tree.count("nodes", nodeRecordSize);
    for (std::uint32_t i = 0; i < count; ++i) {
        Node node = readRecord(tree);
        if (node.lightOffset != light.position()) {
            tree.fail("the light offset " + std::to_string(node.lightOffset) + " of node " +
                      std::to_string(node.id) + " is invalid");
        }
        if (node.type == "Group") {
            node.group = readGroup(light, attributes);
        } else if (node.type == "Shape") {
            node.material = readMaterial(resources);
        } else if (node.type == "Geometry") {
            node.variables = readVariables(light, attributes);
        }
        nodes.push_back(std::move(node));
    }
    for (const ByteCursor* cursor : {&tree, &light, &attributes, &resources}) {
        cursor->expectEnd();
    }
    return nodes;
}

Modifier readModifier(ByteCursor& information) {
    const std::uint64_t start = information.position();
    const std::uint32_t size = information.u32("size of a modifier");
    expectVersion(information, "0.1");
    Modifier modifier;
    for (std::string* field :
         {&modifier.toolName, &modifier.toolVersion, &modifier.formatVersion, &modifier.date,
          &modifier.computerName, &modifier.userName, &modifier.comment}) {
        *field = information.string("field of a modifier");
    }
    if (information.position() - start != size) {
        information.fail("the size of a modifier is invalid");
    }
    return modifier;
}

std::vector<Modifier> readModifiers(Container& container) {
    const std::string bytes = container.stream("Global Information");
    ByteCursor information(bytes, "\"Global Information\"");
    auto modifiers = listed(information, "modifiers", 4, [&] { return readModifier(information); });
    if (information.u32("number of results") != 0) {
        information.fail("the list of results is not empty");
    }
    information.expectEnd();
    return modifiers;
}

/// Undoes the byte shuffle. Components are stored one after the other; of each component the lowest
/// bytes of all rows come first, then the second bytes, and so on.
template <class T>
std::vector<T> valuesOf(const std::string& shuffled, std::uint64_t rows, std::uint8_t width) {
    std::vector<T> values(rows * width);
    for (std::uint64_t column = 0; column < width; ++column) {
        const char* const component = shuffled.data() + 4 * rows * column;
        for (std::uint64_t row = 0; row < rows; ++row) {
            const std::array<char, 4> bytes = {component[row], component[rows + row],
                                               component[2 * rows + row],
                                               component[3 * rows + row]};
            const auto bits =
                static_cast<std::uint32_t>(littleEndian({bytes.data(), bytes.size()}, 4));
            std::memcpy(&values[row * width + column], &bits, sizeof bits);
        }
    }
    return values;
}

template <class T>
std::vector<T> read(Container& container, const Variable& owner) {
    const std::string shuffled = container.bytes("Heavy Data", owner.offset, owner.byteSize);
    if (owner.width == 0 || owner.byteSize % (4U * owner.width) != 0) {
        throw Error("variable \"" + owner.name + "\": its size is not a whole number of rows");
    }
    return valuesOf<T>(shuffled, owner.rows(), owner.width);
}

} // namespace

File::File(const std::filesystem::path& path)
    : container_(path), nodes_(readNodes(container_)), modifiers_(readModifiers(container_)) {
    resolveLinks();
}

std::uint64_t File::streamLength(std::string_view name) const {
    return container_.streamLength(name);
}

void File::resolveLinks() {
    for (Node& node : nodes_) {
        for (Variable& variable : node.variables) {
            resolve(variable);
        }
    }
}

/// Sets the end of each chain once: a walk ends at the first link that has one. The links of the
/// walk have the end "circle" until it is known, so a walk that returns to itself ends there.
void File::resolve(Variable& link) {
    std::vector<Variable*> walk;
    Variable* at = &link;
    while (at != nullptr && at->linked && !at->chainEnd) {
        at->chainEnd = nullptr;
        walk.push_back(at);
        at = targetOf(*at);
    }
    const Variable* end = at;
    if (at == nullptr) {
        end = walk.back();
    } else if (at->linked) {
        end = *at->chainEnd;
    }
    for (Variable* const walked : walk) {
        walked->chainEnd = end;
    }
}

/// The variable that a link refers to; null if there is none.
Variable* File::targetOf(const Variable& link) {
    if (link.linkedNodeId == 0 || link.linkedNodeId > nodes_.size()) {
        return nullptr;
    }
    std::vector<Variable>& variables = nodes_[link.linkedNodeId - 1].variables;
    return link.linkedVariableIndex < variables.size() ? &variables[link.linkedVariableIndex]
                                                       : nullptr;
}

const Variable& File::owner(const Variable& variable) const {
    if (hasCircularLinks(variable)) {
        throw Error("variable \"" + variable.name + "\" has no array: its links form a circle");
    }
    const Variable& end = variable.linked ? **variable.chainEnd : variable;
    if (end.linked) {
        throw Error("variable \"" + end.name + "\" links to variable " +
                    std::to_string(end.linkedVariableIndex) + " of node " +
                    std::to_string(end.linkedNodeId) + ", which does not exist");
    }
    return end;
}

std::vector<float> File::floats(const Variable& variable) {
    return read<float>(container_, owner(variable));
}

std::vector<std::uint32_t> File::words(const Variable& variable) {
    return read<std::uint32_t>(container_, owner(variable));
}

} // namespace MekReader
