/// @file
/// Reads the model that a container holds: tree, placements, materials, attributes, variables.
#pragma once

#include "mekreader/container.hpp"

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace MekReader {

using AttributeValue = std::variant<std::uint32_t, float, std::string, double>;
using AttributeList = std::map<std::string, AttributeValue>;

/// Placement and attributes of a group.
struct Group {
    std::array<float, 3> translation{};
    std::array<float, 4> rotation{};
    std::array<float, 3> scale{};
    std::uint8_t rootFlag = 0;
    AttributeList attributes{};
};

/// Colours and shininess of a shape. Colours have four channels.
struct Material {
    std::array<float, 4> diffuseColor{};
    std::array<float, 4> specularColor{};
    std::array<float, 4> emissiveColor{};
    std::array<float, 4> ambientColor{};
    float transparency = 0;
    float shininess = 0;
    bool materialFlag = false;
};

/// One named array of a geometry. An owner describes a dataset; a link refers to another variable.
struct Variable {
    static constexpr std::uint8_t floatElements = 1;
    static constexpr std::uint8_t unsignedElements = 5;

    std::string name{};
    std::uint32_t type = 0; ///< the variable type
    std::uint8_t elementType = 0;
    bool linked = false;
    std::uint32_t linkedNodeId = 0;        ///< if linked: geometry of the target
    std::uint32_t linkedVariableIndex = 0; ///< if linked: index of the target there
    std::uint32_t byteSize = 0;            ///< this and the next two: if not linked
    std::uint8_t width = 0;                ///< values per row
    std::uint64_t offset = 0;              ///< of the dataset in "Heavy Data"
    bool vibration = false;
    AttributeList attributes{};

    /// Set for a link in a `File`: the last variable of its chain of links. This is the owner, or a
    /// link whose target does not exist. Null if the links form a circle.
    std::optional<const Variable*> chainEnd{};

    std::uint64_t rows() const { return width == 0 ? 0 : byteSize / (4U * width); }
};

struct Node {
    std::uint32_t id = 0;
    std::uint32_t parent = 0; ///< this and the next four are ids; 0 for none
    std::uint32_t previousSibling = 0;
    std::uint32_t nextSibling = 0;
    std::uint32_t firstChild = 0;
    std::uint32_t lastChild = 0;
    std::string name{};
    std::string type{}; ///< "Group", "Shape", "Geometry", or empty
    std::string version{};
    std::uint64_t lightOffset = 0;
    std::optional<Group> group{};
    std::optional<Material> material{}; ///< of a shape
    std::vector<Variable> variables{};  ///< of a geometry
};

/// The program that wrote the file, and when.
struct Modifier {
    std::string toolName{};
    std::string toolVersion{};
    std::string formatVersion{};
    std::string date{};
    std::string computerName{};
    std::string userName{};
    std::string comment{};
};

/// A model file. The constructor reads everything except the arrays, which are read on request. A
/// `File` may be used by one thread at a time.
class File {
public:
    /// @throws Unfinished the file has no complete index
    /// @throws Error the file violates the format
    explicit File(const std::filesystem::path& path);

    Container& container() { return container_; }
    const Container& container() const { return container_; }
    const std::vector<Block>& blocks() const { return container_.blocks(); }
    std::uint64_t streamLength(std::string_view name) const;

    /// All nodes; node `id` has the index `id - 1`.
    const std::vector<Node>& nodes() const { return nodes_; }
    const std::vector<Modifier>& modifiers() const { return modifiers_; }

    /// Whether the variable is a link whose chain of links ends in a circle. Such a variable has no
    /// array. It can occur in a valid file.
    bool hasCircularLinks(const Variable& variable) const {
        return variable.linked && variable.chainEnd == nullptr;
    }

    /// The owner of the dataset: the variable itself, or the last variable of its chain of links.
    /// @throws Error the links form a circle, or the target of a link does not exist
    const Variable& owner(const Variable& variable) const;

    /// The values of a variable or of its owner, row by row. The bits are not converted: call the
    /// function of the owner's element type.
    /// @throws Error as `owner`, or the dataset is damaged
    std::vector<float> floats(const Variable& variable);
    std::vector<std::uint32_t> words(const Variable& variable);

private:
    void resolveLinks();
    void resolve(Variable& link);
    Variable* targetOf(const Variable& link);

    Container container_;
    std::vector<Node> nodes_;
    std::vector<Modifier> modifiers_;
};

/// Verifies every rule of the format, including checksums.
/// @throws Error describes the first violation
void check(const std::filesystem::path& path);

} // namespace MekReader
