#include "mekinfo/json.hpp"

#include "mekinfo/contentsize.hpp"
#include "mekinfo/statistics.hpp"
#include "meknames/lookup.hpp"
#include "mekreader/variables.hpp"
#include "mekvtu/timeline.hpp"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <optional>

namespace MekInfo {

namespace {

using Json = nlohmann::ordered_json;
using MekReader::File;
using MekReader::Node;
using MekReader::Variable;

/// The members that this version writes and docs/mekinfo.md describes.
constexpr int schema = 1;

/// JSON has no numbers for infinities and NaN.
Json toJson(double number) {
    if (std::isfinite(number)) {
        return number;
    }
    return std::isnan(number) ? "NaN" : (number > 0 ? "Infinity" : "-Infinity");
}

/// The shortest decimal number that rounds to the float: 0.1, not 0.10000000149011612.
Json toJson(float number) {
    std::array<char, 32> text{};
    const char* const end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    double decimal = number;
    if (std::isfinite(number)) {
        std::from_chars(text.data(), end, decimal);
    }
    return toJson(decimal);
}

template <std::size_t Size>
Json toJson(const std::array<float, Size>& numbers) {
    Json list = Json::array();
    for (const float number : numbers) {
        list.push_back(toJson(number));
    }
    return list;
}

Json toJson(const MekReader::AttributeValue& value) {
    if (const auto* const number = std::get_if<std::uint32_t>(&value)) {
        return {{"type", "u32"}, {"value", *number}};
    }
    if (const auto* const number = std::get_if<float>(&value)) {
        return {{"type", "f32"}, {"value", toJson(*number)}};
    }
    if (const auto* const number = std::get_if<double>(&value)) {
        return {{"type", "f64"}, {"value", toJson(*number)}};
    }
    return {{"type", "string"}, {"value", std::get<std::string>(value)}};
}

/// A list, because keys that are not UTF-8 can become equal.
Json toJson(const MekReader::AttributeList& attributes) {
    Json list = Json::array();
    for (const auto& [key, value] : attributes) {
        Json attribute{{"key", key}};
        attribute.update(toJson(value));
        list.push_back(std::move(attribute));
    }
    return list;
}

Json toJson(const MekReader::Modifier& modifier) {
    return {{"tool", modifier.toolName},         {"toolVersion", modifier.toolVersion},
            {"format", modifier.formatVersion},  {"date", modifier.date},
            {"computer", modifier.computerName}, {"user", modifier.userName},
            {"comment", modifier.comment}};
}

Json toJson(const MekReader::Block& block) {
    return {{"number", block.number},
            {"name", block.isIndex() ? Json() : Json(block.name)},
            {"position", block.position},
            {"storedSize", block.storedLength},
            {"size", block.isCompressed() ? block.rawLength : block.storedLength},
            {"compressed", block.isCompressed()},
            {"frozen", (block.flags & MekReader::Block::freezeFlag) != 0}};
}

Json toJson(const MekReader::Material& material) {
    return {{"diffuseColor", toJson(material.diffuseColor)},
            {"specularColor", toJson(material.specularColor)},
            {"emissiveColor", toJson(material.emissiveColor)},
            {"ambientColor", toJson(material.ambientColor)},
            {"transparency", toJson(material.transparency)},
            {"shininess", toJson(material.shininess)},
            {"materialFlag", material.materialFlag}};
}

/// On one line, with U+FFFD for bytes that are not UTF-8.
std::string textOf(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json elementTypeOf(const Variable& owner) {
    switch (owner.elementType) {
        case Variable::floatElements:
            return "f32";
        case Variable::unsignedElements:
            return "u32";
        default:
            return nullptr;
    }
}

/// An element of an array, which is exact as a double.
Json elementJson(double element, const Variable& owner) {
    return owner.elementType == Variable::floatElements ? toJson(static_cast<float>(element))
                                                        : Json(static_cast<std::uint32_t>(element));
}

Json statisticsJson(const Statistics& statistics, const Variable& owner) {
    if (statistics.nanCount == owner.rows() * owner.width) {
        return {{"minimum", nullptr},
                {"maximum", nullptr},
                {"mean", nullptr},
                {"nan", statistics.nanCount}};
    }
    return {{"minimum", elementJson(statistics.minimum, owner)},
            {"maximum", elementJson(statistics.maximum, owner)},
            {"mean", toJson(statistics.mean)},
            {"nan", statistics.nanCount}};
}

/// Prints the document of one file. Nodes are printed one by one, so that not all of them are in
/// memory as JSON: their paths can be much longer than the file.
class Document {
public:
    Document(File& file, bool withStatistics)
        : file_(file), tree_(file), statistics_(file), withStatistics_(withStatistics) {}

    void print(std::ostream& out, const std::string& name) {
        Json head{{"schema", schema},
                  {"file", name},
                  {"container", "1.3"},
                  {"size", file_.container().fileSize()},
                  {"contentSize", contentSizeOf(file_)},
                  {"modifiers", listOf(file_.modifiers())},
                  {"blocks", blocks()},
                  {"steps", steps()}};
        std::string text = textOf(head);
        text.pop_back(); // the closing brace
        out << text << ",\"nodes\":[";
        const char* separator = "";
        for (const Node& node : file_.nodes()) {
            out << separator << textOf(nodeJson(node));
            separator = ",";
        }
        out << "]}\n";
    }

private:
    template <class Values>
    static Json listOf(const Values& values) {
        Json list = Json::array();
        for (const auto& value : values) {
            list.push_back(toJson(value));
        }
        return list;
    }

    Json blocks() const {
        Json list = Json::array();
        for (const MekReader::Block& block : file_.blocks()) {
            if (!block.isEmpty()) {
                list.push_back(toJson(block));
            }
        }
        return list;
    }

    Json steps() const {
        Json list = Json::array();
        for (const MekVtu::TimeStep& step : MekVtu::timeline(file_).steps) {
            if (!step.name.empty()) {
                list.push_back({{"name", step.name}, {"time", toJson(step.time)}});
            }
        }
        return list;
    }

    Json nodeJson(const Node& node) {
        Json object{{"id", node.id},
                    {"parent", node.parent != 0 ? Json(node.parent) : Json()},
                    {"type", node.type},
                    {"name", node.name},
                    {"path", tree_.pathOf(node)}};
        if (node.group) {
            object["translation"] = toJson(node.group->translation);
            object["rotation"] = toJson(node.group->rotation);
            object["scale"] = toJson(node.group->scale);
            object["rootFlag"] = node.group->rootFlag != 0;
            object["attributes"] = toJson(node.group->attributes);
        }
        if (node.material) {
            object["material"] = toJson(*node.material);
        }
        if (node.type == "Geometry") {
            object["variables"] = variablesOf(node);
        }
        return object;
    }

    Json variablesOf(const Node& node) {
        Json list = Json::array();
        for (const Variable& variable : node.variables) {
            list.push_back(variableJson(variable));
        }
        return list;
    }

    /// What the array determines is that of the owner, and null if there is none.
    Json variableJson(const Variable& variable) {
        const MekReader::VariableName name = MekReader::splitName(variable.name);
        const bool hasArray = !file_.hasCircularLinks(variable);
        const Variable& owner = hasArray ? file_.owner(variable) : variable;
        Json object{{"name", name.quantity},
                    {"step", name.step ? Json(*name.step) : Json()},
                    {"type", variable.type},
                    {"elementType", hasArray ? elementTypeOf(owner) : Json()},
                    {"rows", hasArray ? Json(owner.rows()) : Json()},
                    {"width", hasArray ? Json(owner.width) : Json()},
                    {"link", linkOf(variable)},
                    {"vibration", variable.vibration},
                    {"attributes", toJson(owner.attributes)}};
        if (withStatistics_) {
            object["statistics"] = hasArray ? statisticsJson(statistics_.of(owner), owner) : Json();
        }
        return object;
    }

    static Json linkOf(const Variable& variable) {
        return variable.linked ? Json{{"node", variable.linkedNodeId},
                                      {"variable", variable.linkedVariableIndex}}
                               : Json();
    }

    File& file_;
    MekNames::Tree tree_;
    StatisticsReader statistics_;
    bool withStatistics_;
};

} // namespace

void printJson(std::ostream& out, File& file, const std::string& name, bool withStatistics) {
    Document(file, withStatistics).print(out, name);
}

} // namespace MekInfo
