/// @file
/// Node properties: the placement of a group, the material of a shape.
///
/// @code
/// #include <tyr/mek2/model.hpp>
///
/// int main() {
///     using namespace Tyr::Mek2;
///     NodeProperties turned;
///     turned.set(PropertyType::Rotation, std::vector<float>{0, 0, 1, 1.5708F}); // about z
///     turned.set(PropertyType::Translation, std::vector<float>{2, 0, 0});
///     Model model;
///     model.saveTo(""); // no file: the tree exists in memory only
///     model.setNodeData(model.addNode(NodeType::RootGroup, "arm"), turned);
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>
#include <tyr/mek2/enumerations.hpp>

#include <map>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace Tyr::Mek2 {

struct ValueAccess;

/// All types of property values. `bool` is stored as `int`.
using NodePropertyVariant =
    std::variant<int, float, std::string, std::vector<int>, std::vector<float>>;

/// A map from `PropertyType` to value, ordered by the number of the key. `Model::setNodeData`
/// checks whether a value fits its key.
///
/// A copy is a deep copy. A moved-from object is empty and can be used again. All operations except
/// moves and destruction allocate, and raise `std::bad_alloc` if there is no memory; the object
/// then keeps its content. Different objects may be used from different threads at the same time.
class MEKAPI2_API NodeProperties {
public:
    /// No properties.
    NodeProperties();

    /// A deep copy.
    /// @{
    NodeProperties(const NodeProperties& other);
    const NodeProperties& operator=(const NodeProperties& other);
    /// @}

    /// Takes the content of `other`, which is empty afterwards.
    /// @{
    NodeProperties(NodeProperties&& other) noexcept;
    NodeProperties& operator=(NodeProperties&& other) noexcept;
    /// @}

    ~NodeProperties();

    /// Stores `value` under `type`. Replaces a value of the same key, whatever its type.
    /// @tparam T `int`, `float`, `std::string`, `std::vector<int>`, `std::vector<float>`, or
    ///     `bool`, which is stored as the `int` 1 or 0
    template <class T>
    void set(PropertyType type, const T& value);

    /// Stores a copy of a zero-terminated string, which must not be null. No key of `PropertyType`
    /// takes a string.
    /// @{
    void set(PropertyType type, const char* value);
    void set(PropertyType type, char* value) { set(type, static_cast<const char*>(value)); }
    /// @}

private:
    friend struct ValueAccess;
    std::map<PropertyType, NodePropertyVariant>* data_; // null in a moved-from object only
};

// Calls with unsupported types use this primary template, which gives a readable compile error. The
// library specialises it for the supported types.

template <class T>
void NodeProperties::set(PropertyType, const T&) {
    static_assert(
        std::disjunction_v<std::is_same<T, int>, std::is_same<T, float>,
                           std::is_same<T, std::string>, std::is_same<T, std::vector<int>>,
                           std::is_same<T, std::vector<float>>, std::is_same<T, bool>>,
        "NodeProperties::set takes int, float, bool, std::string, std::vector<int>, "
        "std::vector<float> or const char*");
}

template <>
MEKAPI2_API void NodeProperties::set(PropertyType type, const int& value);
template <>
MEKAPI2_API void NodeProperties::set(PropertyType type, const float& value);
template <>
MEKAPI2_API void NodeProperties::set(PropertyType type, const std::string& value);
template <>
MEKAPI2_API void NodeProperties::set(PropertyType type, const std::vector<int>& value);
template <>
MEKAPI2_API void NodeProperties::set(PropertyType type, const std::vector<float>& value);
template <>
MEKAPI2_API void NodeProperties::set(PropertyType type, const bool& value);

} // namespace Tyr::Mek2
