/// @file
/// Node properties: placement of a group, look of a shape.
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

/// Every kind of value that a property can hold before an operation uses it.
using NodePropertyVariant =
    std::variant<int, float, std::string, std::vector<int>, std::vector<float>>;

/// A map from `PropertyType` to value, ordered by the number of the key. A copy is a deep copy.
/// Whether a value fits its key is looked at by `Model::setNodeData`, not here. Different objects
/// may be used from different threads.
class MEKAPI2_API NodeProperties {
public:
    /// No properties.
    NodeProperties();

    /// A deep copy.
    /// @{
    NodeProperties(const NodeProperties& other);
    const NodeProperties& operator=(const NodeProperties& other);
    /// @}

    ~NodeProperties();

    /// Stores `value` under `type` and replaces what stood there, whatever its type.
    /// @tparam T `int`, `float`, `std::string`, `std::vector<int>`, `std::vector<float>`, or
    ///     `bool`, which is stored as the `int` 1 or 0
    template <class T>
    void set(PropertyType type, const T& value);

    /// Stores a zero-terminated text.
    void set(PropertyType type, const char* value);

private:
    friend struct ValueAccess;
    std::map<PropertyType, NodePropertyVariant>* data_;
};

// The primary template is there for calls with other types only, to say what is wrong with them;
// the types that exist are specialised in the library.

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
