/// @file
/// Attributes: named values that describe a group or a result.
#pragma once

#include <tyr/export.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
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
    Attributes();
    Attributes(const Attributes& other);
    ~Attributes();
    const Attributes& operator=(const Attributes& other);

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

template <class T>
void Attributes::set(const std::string& key, const T& value) {
    static_assert(std::disjunction_v<std::is_same<T, float>, std::is_same<T, std::vector<float>>,
                                     std::is_same<T, int>, std::is_same<T, std::vector<int>>,
                                     std::is_same<T, unsigned int>,
                                     std::is_same<T, std::vector<unsigned int>>,
                                     std::is_same<T, std::string>>,
                  "Attributes::set takes float, int, unsigned int, a std::vector of one of these, "
                  "std::string or const char*");
    data_->insert_or_assign(key, AttributeVariant(std::in_place_type<T>, value));
}

extern template MEKAPI2_API void Attributes::set(const std::string&, const float&);
extern template MEKAPI2_API void Attributes::set(const std::string&, const std::vector<float>&);
extern template MEKAPI2_API void Attributes::set(const std::string&, const int&);
extern template MEKAPI2_API void Attributes::set(const std::string&, const std::vector<int>&);
extern template MEKAPI2_API void Attributes::set(const std::string&, const unsigned int&);
extern template MEKAPI2_API void Attributes::set(const std::string&,
                                                 const std::vector<unsigned int>&);
extern template MEKAPI2_API void Attributes::set(const std::string&, const std::string&);

} // namespace Tyr::Mek2
