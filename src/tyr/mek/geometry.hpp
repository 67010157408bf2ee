/// @file
/// A geometry: the node under a shape that carries its mesh and results.
#pragma once

#include "tyr/mek/attributelist.hpp"
#include "tyr/mek/node.hpp"
#include "tyr/mek/numericarray.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace TyrMek {

/// Keeps descriptions of arrays and where their bytes went, never the arrays themselves.
class Geometry : public Node {
public:
    /// What a variable is, for a reader: the library only stores the number.
    enum VariableType : std::uint32_t {};

    /// One named array. Its data is described here, or, if it is linked, by another variable.
    struct Variable {
        std::string name;
        VariableType type{};
        bool vibration = false;
        TyrUtil::AttributeList attributes{};
        NumericArray array{};
        bool linked = false;
        std::uint32_t linkedNodeId = 0;        ///< geometry that holds the owner
        std::uint32_t linkedVariableIndex = 0; ///< index of the owner in that geometry
    };

    explicit Geometry(const std::string& geometryName);
    Geometry(const Geometry&) = delete;
    Geometry& operator=(const Geometry&) = delete;

    std::string GetType() const override;
    std::string GetVersion() const override;

    /// Index of the first variable of that name, added at the end if there is none.
    std::uint64_t GetOrAddVariableIndex(const std::string& variableName);

    /// Takes memory for `count` variables ahead, so that it grows in one step.
    void MakeRoomForVariables(std::size_t count);

    /// Sets a variable, which is added if need be, and gives its index. Attributes are merged into
    /// those that the variable has; some keys are left out. Whether it is a link does not change.
    /// Without memory it fails and changes no variable.
    unsigned int AddVariable(const std::string& variableName, const VariableType& type,
                             std::uint64_t offset, const NumericArray& array,
                             const TyrUtil::AttributeList& attributes);

    /// Puts the number of variables and then each of them. Nothing goes to `heavyName`.
    /// @throws KeyNotFound a variable has no entry in `offsets`
    void WriteQb(TyrQbf::QbFile& file, const std::string& lightName, const std::string& heavyName,
                 const std::string& attributesName);

    std::vector<Variable> variables;

    /// In "Heavy Data", by variable name. Only `AddVariable` adds; others read, or clear all.
    std::map<std::string, std::uint64_t> offsets;

private:
    void writeVariable(TyrQbf::Index& index, const std::string& lightName,
                       const Variable& variable);

    std::optional<std::size_t> findVariable(const std::string& variableName);
    std::size_t appendVariable(const std::string& variableName);
    std::map<std::string, std::uint64_t>::iterator placeOfOffset(const std::string& variableName);

    std::unordered_map<std::string, std::size_t> indexByName_; ///< of the first `indexedVariables_`
    std::size_t indexedVariables_ = 0;
    std::map<std::string, std::uint64_t>::iterator latestOffset_; ///< unless there are none
};

} // namespace TyrMek
