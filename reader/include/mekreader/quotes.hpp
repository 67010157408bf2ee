/// @file
/// Quotes strings of a file, so that they can be printed in a line of text.
///
/// @code
/// #include <mekreader/quotes.hpp>
///
/// #include <iostream>
///
/// int main(int argc, char** argv) {
///     for (int i = 1; i < argc; ++i) {
///         std::cout << MekReader::inQuotes(argv[i]) << '\n';
///     }
/// }
/// @endcode
#pragma once

#include <string>
#include <string_view>

namespace MekReader {

/// The string in double quotes. Control characters become hexadecimal numbers.
inline std::string inQuotes(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string shown = "\"";
    for (const char character : bytes) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            shown += {'\\', 'x', digits[byte >> 4], digits[byte & 0xF]};
        } else {
            shown += (character == '"' || character == '\\') ? std::string{'\\', character}
                                                             : std::string{character};
        }
    }
    return shown + '"';
}

} // namespace MekReader
