#include "tyr/mek/geometry.hpp"

#include "tyr/exception/raise.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

namespace TyrMek {

namespace {

constexpr unsigned elementTypeShift = 24;

/// Keys that describe the source of an array to other programs; they never reach a variable.
bool isLeftOut(std::string_view key) {
    constexpr std::array<std::string_view, 5> names = {"Complex", "Contents", "DataSource",
                                                       "DataType", "Structure"};
    constexpr std::string_view linkPrefix = "Link.";
    return std::find(names.begin(), names.end(), key) != names.end() ||
           key.substr(0, linkPrefix.size()) == linkPrefix;
}

bool isVibration(const TyrUtil::AttributeList& attributes) {
    const auto category = attributes.values.find("Category");
    return category != attributes.values.end() && category->second.type == TyrUtil::StringValue &&
           category->second.ToString() == "Vibration";
}

} // namespace

Geometry::Geometry(const std::string& geometryName) : Node(geometryName) {}

std::string Geometry::GetType() const { return "Geometry"; }
std::string Geometry::GetVersion() const { return "0.7"; }

std::uint64_t Geometry::GetOrAddVariableIndex(const std::string& variableName) {
    const std::optional<std::size_t> known = findVariable(variableName);
    return known ? *known : appendVariable(variableName);
}

std::optional<std::size_t> Geometry::findVariable(const std::string& variableName) {
    for (; indexedVariables_ < variables.size(); ++indexedVariables_) {
        indexByName_.emplace(variables[indexedVariables_].name, indexedVariables_);
    }
    const auto found = indexByName_.find(variableName);
    return found != indexByName_.end() ? std::optional(found->second) : std::nullopt;
}

std::size_t Geometry::appendVariable(const std::string& variableName) {
    Variable variable;
    variable.name = variableName;
    variables.push_back(std::move(variable));
    return variables.size() - 1;
}

/// The first entry that is not below the name. Numbered names mostly come right behind each other.
std::map<std::string, std::uint64_t>::iterator Geometry::placeOfOffset(
    const std::string& variableName) {
    if (!offsets.empty() && latestOffset_->first < variableName) {
        const auto next = std::next(latestOffset_);
        if (next == offsets.end() || variableName <= next->first) {
            return next;
        }
    }
    return offsets.lower_bound(variableName);
}

void Geometry::MakeRoomForVariables(std::size_t count) {
    const std::size_t needed = variables.size() + count;
    if (needed > variables.capacity()) {
        variables.reserve(std::max(needed, 2 * variables.capacity()));
    }
}

unsigned int Geometry::AddVariable(const std::string& variableName, const VariableType& type,
                                   std::uint64_t offset, const NumericArray& array,
                                   const TyrUtil::AttributeList& attributes) {
    // Nearly every name is new, and `offsets` tell it: they hold the names of variables only, so
    // that what they lack is new as long as they have all.
    const bool hasAllNames = offsets.size() == variables.size();
    const auto place = placeOfOffset(variableName);
    const bool hasOffset = place != offsets.end() && place->first == variableName;
    const std::optional<std::size_t> known =
        hasOffset || !hasAllNames ? findVariable(variableName) : std::nullopt;

    // what can fail comes first, so that no variable is ever set in part
    const bool vibration = isVibration(attributes);
    TyrUtil::AttributeList merged;
    if (known) {
        merged = variables[*known].attributes;
    }
    for (const auto& [key, value] : attributes.values) {
        if (!isLeftOut(key)) {
            merged.values.insert_or_assign(key, value);
        }
    }
    const std::size_t index = known ? *known : appendVariable(variableName);
    try {
        latestOffset_ = offsets.insert_or_assign(place, variableName, offset);
    } catch (...) {
        if (!known) {
            variables.pop_back();
        }
        throw;
    }

    Variable& variable = variables[index];
    variable.type = type;
    variable.vibration = vibration;
    variable.attributes.values.swap(merged.values);
    variable.array = array;
    return static_cast<unsigned int>(index);
}

void Geometry::WriteQb(TyrQbf::QbFile& file, const std::string& lightName, const std::string&,
                       const std::string& attributesName) {
    file.index.Put(lightName, static_cast<int>(variables.size()));
    for (const Variable& variable : variables) {
        writeVariable(file.index, lightName, variable);
        file.index.Put(attributesName, variable.attributes);
    }
}

void Geometry::writeVariable(TyrQbf::Index& index, const std::string& lightName,
                             const Variable& variable) {
    const NumericArray& array = variable.array;
    const std::uint32_t typeWord = variable.type | (array.elementType << elementTypeShift);
    if (variable.linked) {
        index.PutEach(lightName, variable.name, typeWord, variable.linked, variable.linkedNodeId,
                      variable.linkedVariableIndex, variable.vibration);
        return;
    }
    index.PutEach(lightName, variable.name, typeWord, variable.linked,
                  static_cast<std::uint32_t>(array.byteSize), array.GetWidth(), array.firstOption,
                  array.secondOption, array.firstValue, array.secondValue, array.thirdOption);
    const auto offset = placeOfOffset(variable.name);
    if (offset == offsets.end() || offset->first != variable.name) {
        TYR_RAISE(Tyr::Exception::KeyNotFound());
    }
    latestOffset_ = offset;
    index.PutEach(lightName, offset->second, variable.vibration);
}

} // namespace TyrMek
