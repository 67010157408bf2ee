/// @file
/// A geometry: the node below a shape that has its mesh and results as variables.
#pragma once

#include "tyr/adt/hashindex.hpp"
#include "tyr/adt/watched.hpp"
#include "tyr/mek/attributelist.hpp"
#include "tyr/mek/node.hpp"
#include "tyr/mek/numericarray.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace TyrMek {

/// Holds the descriptions of arrays and their offsets in "Heavy Data", never the arrays themselves.
class Geometry : public Node {
public:
    /// The kind of a variable, for readers; the library only stores the number.
    enum VariableType : std::uint32_t {};

    /// One named array. An owner describes its dataset; a link refers to another variable.
    struct Variable {
        std::string name;
        VariableType type{};
        bool vibration = false;
        TyrUtil::AttributeList attributes{};
        NumericArray array{};
        bool linked = false;                   ///< a link, not an owner
        std::uint32_t linkedNodeId = 0;        ///< id of the geometry that holds the owner
        std::uint32_t linkedVariableIndex = 0; ///< index of the owner in that geometry
    };

    using Offsets = std::map<std::string, std::uint64_t>;

    explicit Geometry(const std::string& geometryName);
    Geometry(const Geometry&) = delete;
    Geometry& operator=(const Geometry&) = delete;

    std::string GetType() const override;
    std::string GetVersion() const override;

    /// Index of the first variable of that name, added at the end if there is none.
    std::uint64_t GetOrAddVariableIndex(const std::string& variableName);

    /// Sets a variable, which is added if there is none of that name, and returns its index. The
    /// attributes are merged into those that the variable has; some keys are left out. Whether it
    /// is a link does not change. If memory runs out, no variable changes.
    unsigned int AddVariable(const std::string& variableName, const VariableType& type,
                             std::uint64_t offset, const NumericArray& array,
                             const TyrUtil::AttributeList& attributes);

    /// Puts the number of variables and then each of them. Nothing goes to `heavyName`.
    /// @throws KeyNotFound a variable has no entry in `offsets`
    void WriteQb(TyrQbf::QbFile& file, const std::string& lightName, const std::string& heavyName,
                 const std::string& attributesName);

    TyrAdt::Watched<std::vector<Variable>, Geometry> variables;

    /// Offset in "Heavy Data" by variable name.
    TyrAdt::Watched<Offsets, Geometry> offsets;

    /// Empties `offsets`.
    void ClearOffsets();

    /// Allocates `count` more variables, so that memory grows in one step.
    void MakeRoomForVariables(std::size_t count);

    /// Makes a variable the owner of its dataset.
    void MakeOwner(std::size_t index);

    /// Makes a variable a link, without attributes, to a variable of the geometry `nodeId`.
    void MakeLink(std::size_t index, std::uint32_t nodeId, std::uint32_t variableIndex);

private:
    void WriteVariable(TyrQbf::Index& index, const std::string& lightName,
                       const Variable& variable);
    Offsets::iterator OffsetFrom(const std::string& variableName);
    std::optional<std::size_t> FindVariable(const std::string& variableName) const;
    std::size_t AppendVariable(const std::string& variableName);

    /// The index of each variable by its name. Exact while `variables` is not exposed, and not used
    /// afterwards.
    TyrAdt::HashIndex<std::size_t> indexByName_;

    /// The entry of `offsets` that was found last. Valid while `offsets` is not exposed and not
    /// empty, and not used otherwise.
    Offsets::iterator latestOffset_;
};

} // namespace TyrMek
