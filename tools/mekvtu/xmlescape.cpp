#include "mekvtu/xmlescape.hpp"

#include <cstddef>
#include <cstdint>

namespace MekVtu {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD"; // U+FFFD

/// Length of the sequence that starts with `lead`; 0 if `lead` is invalid there.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

bool isXmlCharacter(std::uint32_t point, std::size_t length) {
    constexpr std::uint32_t shortest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = point >= 0xD800 && point <= 0xDFFF;
    const bool isNone = point == 0xFFFE || point == 0xFFFF || point > 0x10FFFF;
    return point >= shortest[length] && !isSurrogate && !isNone;
}

/// The bytes of the first character of `bytes`; empty if it is invalid.
std::string_view characterAt(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t length = sequenceLength(lead);
    if (length == 0 || length > bytes.size()) {
        return {};
    }
    constexpr unsigned char leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    std::uint32_t point = lead & leadBits[length];
    for (const char next : bytes.substr(1, length - 1)) {
        if ((static_cast<unsigned char>(next) & 0xC0) != 0x80) {
            return {};
        }
        point = point << 6 | (static_cast<unsigned char>(next) & 0x3FU);
    }
    return isXmlCharacter(point, length) ? bytes.substr(0, length) : std::string_view{};
}

std::string escaped(std::string_view character) {
    switch (character.front()) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        default:
            return static_cast<unsigned char>(character.front()) < 0x20 ? " "
                                                                        : std::string(character);
    }
}

} // namespace

std::string escapeXml(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::string_view character = characterAt(bytes);
        text += character.empty() ? std::string(replacement) : escaped(character);
        bytes.remove_prefix(character.empty() ? 1 : character.size());
    }
    return text;
}

} // namespace MekVtu
