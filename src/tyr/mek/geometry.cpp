#include "tyr/mek/geometry.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/recordlayout.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <string_view>
#include <utility>

namespace TyrMek {

namespace {

constexpr unsigned elementTypeShift = 24;

/// Keys that describe the source of an array; no variable stores them.
bool IsLeftOut(std::string_view key) {
    constexpr std::array<std::string_view, 5> names = {"Complex", "Contents", "DataSource",
                                                       "DataType", "Structure"};
    constexpr std::string_view linkPrefix = "Link.";
    return std::find(names.begin(), names.end(), key) != names.end() ||
           key.substr(0, linkPrefix.size()) == linkPrefix;
}

bool IsVibration(const TyrUtil::AttributeList& attributes) {
    const auto category = attributes.values.Find("Category");
    return category && category->type == TyrUtil::StringValue &&
           category->ToString() == "Vibration";
}

/// Puts a name and the fields after it, which begin at `Offsets`.
template <const auto& Offsets, class... Fields>
void PutNamed(TyrQbf::Index& index, const std::string& lightName, const std::string& variableName,
              const Fields&... fields) {
    static_assert(AreFields<Fields...>(Offsets), "the fields are the record");
    index.PutEach(lightName, variableName, fields...);
}

} // namespace

Geometry::Geometry(const std::string& geometryName) : Node(geometryName) {}

std::string Geometry::GetType() const { return "Geometry"; }
std::string Geometry::GetVersion() const { return "0.7"; }

std::uint64_t Geometry::GetOrAddVariableIndex(const std::string& variableName) {
    const std::optional<std::size_t> known = FindVariable(variableName);
    return known ? *known : AppendVariable(variableName);
}

std::optional<std::size_t> Geometry::FindVariable(const std::string& variableName) const {
    if (variables.IsExposed()) {
        const auto found =
            std::find_if(variables.begin(), variables.end(),
                         [&](const Variable& variable) { return variable.name == variableName; });
        const auto index = static_cast<std::size_t>(found - variables.begin());
        return found != variables.end() ? std::optional(index) : std::nullopt;
    }
    const std::size_t* const found =
        indexByName_.Find(std::hash<std::string>()(variableName),
                          [&](std::size_t index) { return variables[index].name == variableName; });
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

std::size_t Geometry::AppendVariable(const std::string& variableName) {
    const std::size_t index = variables.size();
    Variable variable;
    variable.name = variableName;
    MakeRoomForVariables(1);
    if (!variables.IsExposed()) {
        indexByName_.Add(std::hash<std::string>()(variableName), index);
    }
    variables.items_.push_back(std::move(variable)); // cannot fail: there is room
    return index;
}

void Geometry::MakeRoomForVariables(std::size_t count) {
    std::vector<Variable>& items = variables.items_;
    const std::size_t needed = items.size() + count;
    if (needed > items.capacity()) {
        items.reserve(std::max(needed, 2 * items.capacity()));
    }
    indexByName_.Reserve(needed);
}

void Geometry::ClearOffsets() { offsets.items_.clear(); }

/// The first entry whose name is not below `variableName`. Names that come one after the other are
/// mostly neighbours in the map, so the entry after the latest one is tried first.
Geometry::Offsets::iterator Geometry::OffsetFrom(const std::string& variableName) {
    if (!offsets.IsExposed() && !offsets.empty() && latestOffset_->first < variableName) {
        const auto next = std::next(latestOffset_);
        if (next == offsets.cend() || variableName <= next->first) {
            return next;
        }
    }
    return offsets.items_.lower_bound(variableName);
}

void Geometry::MakeOwner(std::size_t index) { variables.items_[index].linked = false; }

void Geometry::MakeLink(std::size_t index, std::uint32_t nodeId, std::uint32_t variableIndex) {
    Variable& variable = variables.items_[index];
    variable.linked = true;
    variable.linkedNodeId = nodeId;
    variable.linkedVariableIndex = variableIndex;
    variable.attributes = {};
}

unsigned int Geometry::AddVariable(const std::string& variableName, const VariableType& type,
                                   std::uint64_t offset, const NumericArray& array,
                                   const TyrUtil::AttributeList& attributes) {
    // What can fail comes first, so that no variable is ever set in part.
    const std::optional<std::size_t> known = FindVariable(variableName);
    const bool vibration = IsVibration(attributes);
    TyrUtil::AttributeList merged;
    if (known) {
        merged = std::as_const(variables)[*known].attributes;
    }
    for (const TyrUtil::PackedAttributes::Entry& entry : attributes.values) {
        if (!IsLeftOut(entry.key)) {
            merged.values.Set(entry);
        }
    }
    merged.values.ShrinkToFit();
    const Offsets::iterator next = OffsetFrom(variableName);
    const bool isNewOffset = next == offsets.cend() || next->first != variableName;
    const auto offsetEntry =
        isNewOffset ? offsets.items_.emplace_hint(next, variableName, offset) : next;
    std::size_t index = 0;
    try {
        index = known ? *known : AppendVariable(variableName);
    } catch (...) {
        if (isNewOffset) {
            offsets.items_.erase(offsetEntry);
        }
        throw;
    }

    latestOffset_ = offsetEntry;
    offsetEntry->second = offset;
    Variable& variable = variables.items_[index];
    variable.type = type;
    variable.vibration = vibration;
    std::swap(variable.attributes, merged);
    variable.array = array;
    return static_cast<unsigned int>(index);
}

void Geometry::WriteQb(TyrQbf::QbFile& file, const std::string& lightName, const std::string&,
                       const std::string& attributesName) {
    file.index.Put(lightName, static_cast<int>(variables.size()));
    for (const Variable& variable : std::as_const(variables)) {
        WriteVariable(file.index, lightName, variable);
        file.index.Put(attributesName, variable.attributes);
    }
}

void Geometry::WriteVariable(TyrQbf::Index& index, const std::string& lightName,
                             const Variable& variable) {
    const NumericArray& array = variable.array;
    const std::uint32_t typeWord = variable.type | (array.elementType << elementTypeShift);
    if (variable.linked) {
        PutNamed<LinkRecord::all>(index, lightName, variable.name, typeWord, variable.linked,
                                  variable.linkedNodeId, variable.linkedVariableIndex,
                                  variable.vibration);
        return;
    }
    PutNamed<OwnerRecord::untilOffset>(index, lightName, variable.name, typeWord, variable.linked,
                                       static_cast<std::uint32_t>(array.byteSize), array.GetWidth(),
                                       array.firstOption, array.secondOption, array.firstValue,
                                       array.secondValue, array.thirdOption);
    const Offsets::iterator offset = OffsetFrom(variable.name);
    if (offset == offsets.cend() || offset->first != variable.name) {
        TYR_RAISE(Tyr::Exception::KeyNotFound());
    }
    latestOffset_ = offset;
    static_assert(
        AreFields<decltype(offset->second), decltype(variable.vibration)>(OwnerRecord::fromOffset));
    index.PutEach(lightName, offset->second, variable.vibration);
}

} // namespace TyrMek
