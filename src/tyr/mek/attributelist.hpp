/// @file
/// Attributes as nodes, variables and the file hold them.
#pragma once

#include "tyr/qbf/index.hpp"

#include <cstdint>
#include <map>
#include <string>

namespace TyrUtil {

/// Which member of an `AttributeValue` is valid. The numbers are part of the file format.
enum AttributeType : std::int32_t {
    UnsignedValue = 0,
    FloatValue = 1,
    StringValue = 2,
    DoubleValue = 3
};

/// One value of an attribute.
struct AttributeValue {
    static constexpr std::size_t textSize = 256;

    static AttributeValue Of(std::uint32_t value);
    static AttributeValue Of(float value);
    static AttributeValue Of(double value);

    /// The string up to its first NUL, at most its first 256 bytes.
    static AttributeValue Of(const std::string& value);

    /// The string of a `StringValue`.
    std::string ToString() const;

    AttributeType type;
    union {
        std::uint32_t uintValue;
        float floatValue;
        double doubleValue;
        char text[textSize]; ///< padded with NUL; a string of full length has none
    } value;
};

/// Values by key, in the order of the keys' bytes.
struct AttributeList {
    std::map<std::string, AttributeValue> values;
};

} // namespace TyrUtil

namespace TyrQbf {

/// A list is split by kind and put as six values: keys, types, and the values of each kind in the
/// order of the keys (unsigned, float, double, string).
template <>
void Index::Put<TyrUtil::AttributeList>(const std::string& name,
                                        const TyrUtil::AttributeList& list);

} // namespace TyrQbf
