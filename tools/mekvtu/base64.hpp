/// @file
/// Base64, RFC 4648 section 4.
#pragma once

#include <string>
#include <string_view>

namespace MekVtu {

/// Encodes `bytes`. A number of bytes that is a multiple of three gives no padding, so the
/// encodings of such chunks can be joined.
std::string base64(std::string_view bytes);

} // namespace MekVtu
