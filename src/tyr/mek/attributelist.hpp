/// @file
/// Attributes as nodes, variables and the file hold them.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace TyrQbf {
class Index;
}

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

/// Called by `Index::Put`: splits a list by kind and puts it as six values, which are the keys, the
/// types, and the values of each kind in the order of the keys (unsigned, float, double, string).
void PutSplit(TyrQbf::Index& index, const std::string& name, const AttributeList& list);

} // namespace TyrUtil
