#include "mekvtu/base64.hpp"

#include <cstddef>
#include <cstdint>

namespace MekVtu {

std::string base64(std::string_view bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text((bytes.size() + 2) / 3 * 4, '=');
    std::size_t place = 0;
    for (std::size_t start = 0; start < bytes.size(); start += 3) {
        const std::string_view group = bytes.substr(start, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
        }
        // one digit more than there are bytes; the rest of the four is padding
        for (std::size_t i = 0; i <= group.size(); ++i) {
            text[place + i] = digits[bits >> (18 - 6 * i) & 0x3F];
        }
        place += 4;
    }
    return text;
}

} // namespace MekVtu
