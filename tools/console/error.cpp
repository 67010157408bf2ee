#include "console/error.hpp"

namespace Console {

std::string reasonOf(const std::error_code& error) {
    return error.default_error_condition().message();
}

std::string reasonOf(int errorNumber) {
    return reasonOf(std::error_code(errorNumber, std::generic_category()));
}

std::string printable(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string shown;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            shown += {'\\', 'x', digits[byte >> 4], digits[byte & 0xF]};
        } else {
            shown += character;
        }
    }
    return shown;
}

} // namespace Console
