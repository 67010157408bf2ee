/// @file
/// Reads the model that a container holds: tree, placements, materials, attributes, variables.
///
/// @code
/// #include <mekreader/model.hpp>
///
/// #include <iostream>
///
/// int main(int argc, char** argv) {
///     for (int i = 1; i < argc; ++i) {
///         const MekReader::File file(argv[i]);
///         for (const MekReader::Node& node : file.nodes()) {
///             std::cout << node.id << ' ' << node.type << ' ' << node.name << '\n';
///         }
///     }
/// }
/// @endcode
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

/// The value of an attribute, of one of the four types that files have.
using AttributeValue = std::variant<std::uint32_t, float, std::string, double>;
/// Attributes by key.
using AttributeList = std::map<std::string, AttributeValue>;

/// Placement and attributes of a group.
struct Group {
    std::array<float, 3> translation{}; ///< x, y, z
    std::array<float, 4> rotation{};    ///< axis x, y, z and angle in radians
    std::array<float, 3> scale{};       ///< x, y, z
    std::uint8_t rootFlag = 0;          ///< not 0: the root, added as `FlaggedRootGroup`
    AttributeList attributes{};         ///< of the group
};

/// Colours and shininess of a shape. Colours have four channels.
struct Material {
    std::array<float, 4> diffuseColor{};  ///< red, green, blue, alpha, from 0 to 1
    std::array<float, 4> specularColor{}; ///< as `diffuseColor`
    std::array<float, 4> emissiveColor{}; ///< as `diffuseColor`
    std::array<float, 4> ambientColor{};  ///< as `diffuseColor`
    float transparency = 0;               ///< of the surface
    float shininess = 0;                  ///< of the surface
    bool materialFlag = false;            ///< as in the file
};

/// One named array of a geometry. An owner describes a dataset; a link refers to another variable.
struct Variable {
    static constexpr std::uint8_t floatElements = 1;    ///< 32-bit floating-point numbers
    static constexpr std::uint8_t unsignedElements = 5; ///< 32-bit unsigned numbers

    std::string name{};                    ///< quantity and step; see `splitName`
    std::uint32_t type = 0;                ///< the variable type
    std::uint8_t elementType = 0;          ///< if not linked: one of the two above
    bool linked = false;                   ///< whether this is a link
    std::uint32_t linkedNodeId = 0;        ///< if linked: geometry of the target
    std::uint32_t linkedVariableIndex = 0; ///< if linked: index of the target there
    std::uint32_t byteSize = 0;            ///< this and the next two: if not linked
    std::uint8_t width = 0;                ///< values per row
    std::uint64_t offset = 0;              ///< of the dataset in "Heavy Data"
    bool vibration = false;                ///< the flag of the file
    AttributeList attributes{};            ///< of the variable

    /// Set for a link in a `File`: the last variable of its chain of links. This is the owner, or a
    /// link whose target does not exist. Null if the links form a circle.
    std::optional<const Variable*> chainEnd{};

    /// Rows of the dataset; 0 for a link.
    std::uint64_t rows() const { return width == 0 ? 0 : byteSize / (4U * width); }
};

/// A node of the tree. The ids of related nodes are 0 for none.
struct Node {
    std::uint32_t id = 0;               ///< from 1, the root
    std::uint32_t parent = 0;           ///< id
    std::uint32_t previousSibling = 0;  ///< id
    std::uint32_t nextSibling = 0;      ///< id
    std::uint32_t firstChild = 0;       ///< id
    std::uint32_t lastChild = 0;        ///< id
    std::string name{};                 ///< of a geometry, that of its shape
    std::string type{};                 ///< "Group", "Shape", "Geometry", or empty
    std::string version{};              ///< of the node's record
    std::uint64_t lightOffset = 0;      ///< of the node's data in "Light Data"
    std::optional<Group> group{};       ///< of a group
    std::optional<Material> material{}; ///< of a shape
    std::vector<Variable> variables{};  ///< of a geometry
};

/// The program that wrote the file, and when.
struct Modifier {
    std::string toolName{};      ///< of the program
    std::string toolVersion{};   ///< of the program
    std::string formatVersion{}; ///< of the model
    std::string date{};          ///< local time, as a string
    std::string computerName{};  ///< empty if it was not recorded
    std::string userName{};      ///< empty if it was not recorded
    std::string comment{};       ///< mostly empty
};

/// A model file. The constructor reads everything except the arrays, which are read on request. A
/// `File` may be used by one thread at a time.
class File {
public:
    /// @throws Unfinished the file has no complete index
    /// @throws Error the file cannot be opened or violates the format
    explicit File(const std::filesystem::path& path);

    /// The container that has the streams of the model.
    /// @{
    Container& container() { return container_; }
    const Container& container() const { return container_; }
    /// @}

    /// As `Container::blocks`.
    const std::vector<Block>& blocks() const { return container_.blocks(); }

    /// As `Container::streamLength`.
    std::uint64_t streamLength(std::string_view name) const;

    /// All nodes; node `id` has the index `id - 1`.
    const std::vector<Node>& nodes() const { return nodes_; }

    /// The programs that wrote the file; the library writes one.
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
    /// @{
    std::vector<float> floats(const Variable& variable);
    std::vector<std::uint32_t> words(const Variable& variable);
    /// @}

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
