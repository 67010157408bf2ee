#include "tyr/mek/packedattributes.hpp"

#include <algorithm>
#include <cstring>

namespace TyrUtil {

namespace {

/// A stored entry is a head, the key and the bytes of the value, without padding.
struct Head {
    std::uint64_t keySize : 48;
    std::uint64_t valueSize : 12;
    std::uint64_t type : 4;
};

Head HeadAt(const char* position) {
    Head head{};
    std::memcpy(&head, position, sizeof head);
    return head;
}

std::size_t SizeOf(const Head& head) { return sizeof head + head.keySize + head.valueSize; }

std::string_view KeyAt(const char* position) {
    return {position + sizeof(Head), HeadAt(position).keySize};
}

std::size_t SizeOf(const AttributeValue& value) {
    switch (value.type) {
        case UnsignedValue:
            return sizeof value.value.uintValue;
        case FloatValue:
            return sizeof value.value.floatValue;
        case DoubleValue:
            return sizeof value.value.doubleValue;
        case StringValue:
            break;
    }
    const char* const text = value.value.text;
    return static_cast<std::size_t>(std::find(text, text + AttributeValue::textSize, '\0') - text);
}

} // namespace

AttributeValue AttributeValue::Of(std::uint32_t value) {
    AttributeValue attribute{};
    attribute.type = UnsignedValue;
    attribute.value.uintValue = value;
    return attribute;
}

AttributeValue AttributeValue::Of(float value) {
    AttributeValue attribute{};
    attribute.type = FloatValue;
    attribute.value.floatValue = value;
    return attribute;
}

AttributeValue AttributeValue::Of(double value) {
    AttributeValue attribute{};
    attribute.type = DoubleValue;
    attribute.value.doubleValue = value;
    return attribute;
}

AttributeValue AttributeValue::Of(const std::string& value) {
    AttributeValue attribute{};
    attribute.type = StringValue;
    std::memset(attribute.value.text, 0, textSize);
    const std::size_t length = std::min(std::strlen(value.c_str()), textSize);
    std::memcpy(attribute.value.text, value.data(), length);
    return attribute;
}

std::string AttributeValue::ToString() const {
    const char* const end = std::find(value.text, value.text + textSize, '\0');
    return std::string(static_cast<const char*>(value.text), end);
}

AttributeValue PackedAttributes::Entry::Value() const {
    AttributeValue result{};
    result.type = type;
    std::memset(result.value.text, 0, AttributeValue::textSize);
    bytes.copy(result.value.text, bytes.size());
    return result;
}

PackedAttributes::Entry PackedAttributes::Iterator::operator*() const {
    const Head head = HeadAt(position_);
    const std::string_view key = KeyAt(position_);
    return {key, static_cast<AttributeType>(head.type), {key.data() + key.size(), head.valueSize}};
}

PackedAttributes::Iterator& PackedAttributes::Iterator::operator++() {
    position_ += SizeOf(HeadAt(position_));
    return *this;
}

std::optional<AttributeValue> PackedAttributes::Find(std::string_view key) const {
    const Place place = PlaceOf(key);
    return place.size != 0 ? std::optional((*Iterator(bytes_.data() + place.offset)).Value())
                           : std::nullopt;
}

void PackedAttributes::Set(std::string_view key, const AttributeValue& value) {
    Set({key, value.type, {value.value.text, SizeOf(value)}});
}

void PackedAttributes::Set(const Entry& entry) { Replace(PlaceOf(entry.key), entry); }

void PackedAttributes::Add(const Entry& entry) {
    const Place place = PlaceOf(entry.key);
    if (place.size == 0) {
        Replace(place, entry);
    }
}

PackedAttributes::Place PackedAttributes::PlaceOf(std::string_view key) const {
    if (!bytes_.empty() && KeyAt(bytes_.data() + last_) < key) {
        return {bytes_.size(), 0};
    }
    std::size_t offset = 0;
    while (offset < bytes_.size()) {
        const char* const position = bytes_.data() + offset;
        const std::size_t size = SizeOf(HeadAt(position));
        const int order = KeyAt(position).compare(key);
        if (order >= 0) {
            return {offset, order == 0 ? size : 0};
        }
        offset += size;
    }
    return {offset, 0};
}

void PackedAttributes::Replace(const Place& place, const Entry& entry) {
    constexpr std::uint64_t largestKey = (std::uint64_t{1} << 48U) - 1;
    const Head head{entry.key.size() & largestKey, entry.bytes.size() & 0xFFFU,
                    static_cast<std::uint64_t>(entry.type) & 0xFU};
    const std::size_t size = SizeOf(head);
    const auto at = [this](std::size_t offset) {
        return bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
    };
    if (size > place.size) {
        bytes_.insert(at(place.offset), size - place.size, '\0');
    } else {
        bytes_.erase(at(place.offset), at(place.offset + place.size - size));
    }
    char* const position = bytes_.data() + place.offset;
    std::memcpy(position, &head, sizeof head);
    entry.key.copy(position + sizeof head, entry.key.size());
    entry.bytes.copy(position + sizeof head + entry.key.size(), entry.bytes.size());
    const bool isLast = place.offset + size == bytes_.size();
    last_ = isLast ? place.offset : last_ + size - place.size;
}

} // namespace TyrUtil
