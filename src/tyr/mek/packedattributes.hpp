/// @file
/// Attributes that take little memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

/// An ordered map from key to `AttributeValue`, in the order of the keys' bytes.
///
/// A model has one for each variable, and most values are much smaller than an `AttributeValue`. So
/// the entries are stored one after the other with the bytes that they need. To add keys in
/// ascending order takes constant time for each; anything else is a linear search.
class PackedAttributes {
public:
    /// Valid until the map changes.
    struct Entry {
        std::string_view key;
        AttributeType type;
        std::string_view bytes; ///< of the member of `AttributeValue::value` that `type` names

        AttributeValue Value() const;
    };

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry*;
        using reference = Entry;

        explicit Iterator(const char* position) : position_(position) {}

        Entry operator*() const;
        Iterator& operator++();
        bool operator==(const Iterator& other) const { return position_ == other.position_; }
        bool operator!=(const Iterator& other) const { return position_ != other.position_; }

    private:
        const char* position_;
    };

    bool IsEmpty() const { return bytes_.empty(); }

    std::optional<AttributeValue> Find(std::string_view key) const;

    /// Adds an entry or replaces the value of its key. If memory runs out, nothing changes, as
    /// below. An `Entry` belongs to another map.
    /// @{
    void Set(std::string_view key, const AttributeValue& value);
    void Set(const Entry& entry);
    /// @}

    /// Adds an entry unless there is one of its key.
    void Add(const Entry& entry);

    /// Frees memory that is reserved for further entries.
    void ShrinkToFit() { bytes_.shrink_to_fit(); }

    // NOLINTBEGIN(readability-identifier-naming): the names that a range-based for statement needs
    Iterator begin() const { return Iterator(bytes_.data()); }
    Iterator end() const { return Iterator(bytes_.data() + bytes_.size()); }
    // NOLINTEND(readability-identifier-naming)

private:
    /// Where an entry is, or would be.
    struct Place {
        std::size_t offset;
        std::size_t size; ///< 0 if there is no entry of the key
    };

    Place PlaceOf(std::string_view key) const;
    void Replace(const Place& place, const Entry& entry);

    std::vector<char> bytes_;
    std::size_t last_ = 0; ///< offset of the last entry, if there is one
};

} // namespace TyrUtil
