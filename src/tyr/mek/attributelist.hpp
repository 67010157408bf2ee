/// @file
/// The inner form of attributes, the only one in which they live on nodes and reach the file.
#pragma once

#include "tyr/qbf/index.hpp"

#include <cstdint>
#include <map>
#include <string>

namespace TyrUtil {

/// Which member of an `AttributeValue` has meaning; the numbers stand in the file.
enum AttributeType : std::int32_t {
    UnsignedValue = 0,
    FloatValue = 1,
    StringValue = 2,
    DoubleValue = 3
};

/// One value, copied as a whole.
struct AttributeValue {
    static constexpr std::size_t textSize = 256;

    static AttributeValue Of(std::uint32_t value);
    static AttributeValue Of(float value);
    static AttributeValue Of(double value);

    /// The text up to its first NUL, and no more than its first 256 bytes.
    static AttributeValue Of(const std::string& value);

    /// The text of a `StringValue`.
    std::string ToString() const;

    AttributeType type;
    union {
        std::uint32_t uintValue;
        float floatValue;
        double doubleValue;
        char text[textSize]; ///< filled up with NUL; a text of full length has none
    } value;
};

/// Values by key, in the order of the keys' bytes.
struct AttributeList {
    std::map<std::string, AttributeValue> values;
};

} // namespace TyrUtil

namespace TyrQbf {

/// A list is split by kind and put as six values: keys, types, and the values of each kind in the
/// order of the keys (unsigned, float, double, text).
template <>
void Index::Put<TyrUtil::AttributeList>(const std::string& name,
                                        const TyrUtil::AttributeList& list);

} // namespace TyrQbf
