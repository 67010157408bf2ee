/// @file
/// Attributes: named values that describe a group or a result.
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

/// Every kind of value that an attribute can hold before an operation uses it.
///
/// What reaches a node of the tree is `float`, `double`, text (its first 256 bytes, up to the
/// first zero byte) and 32-bit unsigned numbers; `int` and signed 64-bit values arrive as their
/// low 32 bits. All other kinds are refused with `InvalidArguments` by the operation that uses
/// the attributes.
using AttributeVariant =
    std::variant<float, std::vector<float>, int, std::vector<int>, unsigned int,
                 std::vector<unsigned int>, std::string, std::vector<std::string>, std::wstring,
                 std::vector<std::wstring>, double, std::vector<double>, std::uint64_t,
                 std::vector<std::uint64_t>, std::int64_t, std::vector<std::int64_t>, bool,
                 std::vector<bool>, unsigned char, std::vector<unsigned char>, signed char,
                 std::vector<signed char>, unsigned short, std::vector<unsigned short>, short,
                 std::vector<short>>;

/// A map from key to value, ordered by key. A copy is a deep copy. Different objects may be used
/// from different threads.
class MEKAPI2_API Attributes {
public:
    /// No attributes.
    Attributes();

    /// A deep copy.
    /// @{
    Attributes(const Attributes& other);
    const Attributes& operator=(const Attributes& other);
    /// @}

    ~Attributes();

    /// Stores `value` under `key` and replaces what stood there, whatever its type.
    /// @tparam T `float`, `int`, `unsigned int`, a `std::vector` of one of these, or `std::string`
    template <class T>
    void set(const std::string& key, const T& value);

    /// Stores a zero-terminated text.
    void set(const std::string& key, const char* value);

private:
    friend struct ValueAccess;
    std::map<std::string, AttributeVariant>* data_;
};

// The primary template is there for calls with other types only, to say what is wrong with them;
// the types that exist are specialised in the library.

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
