/// @file
/// Attributes: named values that describe a group or a variable.
///
/// @code
/// #include <tyr/mek2/model.hpp>
///
/// int main() {
///     Tyr::Mek2::Attributes attributes;
///     attributes.set("Material", "steel");
///     attributes.set("Mass", 12.5F);
///     attributes.set("Revision", 3U);
///     Tyr::Mek2::Model model;
///     model.saveTo(""); // no file: the tree exists in memory only
///     model.addNode(Tyr::Mek2::NodeType::RootGroup, "table", attributes);
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace Tyr::Mek2 {

struct ValueAccess;

/// All types of attribute values. `Attributes::set` accepts seven of them. The file stores them as
/// follows:
///
/// | Type                             | In the file                                            |
/// |----------------------------------|--------------------------------------------------------|
/// | `unsigned int`, `float`, `double`| the value                                              |
/// | `int`, `std::int64_t`            | the low 32 bits as an unsigned number: -1 is 4294967295|
/// | `std::string`                    | the first 256 bytes, up to the first zero byte         |
/// | all others, and all vectors      | cannot be stored                                       |
///
/// An operation with an attribute that cannot be stored raises `InvalidArguments`.
using AttributeVariant =
    std::variant<float, std::vector<float>, int, std::vector<int>, unsigned int,
                 std::vector<unsigned int>, std::string, std::vector<std::string>, std::wstring,
                 std::vector<std::wstring>, double, std::vector<double>, std::uint64_t,
                 std::vector<std::uint64_t>, std::int64_t, std::vector<std::int64_t>, bool,
                 std::vector<bool>, unsigned char, std::vector<unsigned char>, signed char,
                 std::vector<signed char>, unsigned short, std::vector<unsigned short>, short,
                 std::vector<short>>;

/// A map from key to value, ordered by the bytes of the key.
///
/// A copy is a deep copy. A moved-from object is empty and can be used again. All operations except
/// moves and destruction allocate, and raise `std::bad_alloc` if there is no memory; the object
/// then keeps its content. Different objects may be used from different threads at the same time.
class MEKAPI2_API Attributes {
public:
    /// No attributes.
    Attributes();

    /// A deep copy.
    /// @{
    Attributes(const Attributes& other);
    const Attributes& operator=(const Attributes& other);
    /// @}

    /// Takes the content of `other`, which is empty afterwards.
    /// @{
    Attributes(Attributes&& other) noexcept;
    Attributes& operator=(Attributes&& other) noexcept;
    /// @}

    ~Attributes();

    /// Stores `value` under `key`. Replaces a value of the same key, whatever its type.
    /// @tparam T `float`, `int`, `unsigned int`, a `std::vector` of one of these, or `std::string`.
    ///     A vector is accepted here, but the file cannot store it.
    template <class T>
    void set(const std::string& key, const T& value);

    /// Stores a copy of a zero-terminated string, which must not be null.
    /// @{
    void set(const std::string& key, const char* value);
    void set(const std::string& key, char* value) { set(key, static_cast<const char*>(value)); }
    /// @}

private:
    friend struct ValueAccess;
    std::map<std::string, AttributeVariant>* data_; // null in a moved-from object only
};

// Calls with unsupported types use this primary template, which gives a readable compile error. The
// library specialises it for the supported types.

template <class T>
void Attributes::set(const std::string&, const T&) {
    static_assert(
        std::disjunction_v<
            std::is_same<T, float>, std::is_same<T, std::vector<float>>, std::is_same<T, int>,
            std::is_same<T, std::vector<int>>, std::is_same<T, unsigned int>,
            std::is_same<T, std::vector<unsigned int>>, std::is_same<T, std::string>>,
        "Attributes::set takes float, int, unsigned int, a std::vector of one of these, "
        "std::string or const char*");
}

template <>
MEKAPI2_API void Attributes::set(const std::string& key, const float& value);
template <>
MEKAPI2_API void Attributes::set(const std::string& key, const std::vector<float>& value);
template <>
MEKAPI2_API void Attributes::set(const std::string& key, const int& value);
template <>
MEKAPI2_API void Attributes::set(const std::string& key, const std::vector<int>& value);
template <>
MEKAPI2_API void Attributes::set(const std::string& key, const unsigned int& value);
template <>
MEKAPI2_API void Attributes::set(const std::string& key, const std::vector<unsigned int>& value);
template <>
MEKAPI2_API void Attributes::set(const std::string& key, const std::string& value);

} // namespace Tyr::Mek2
