/// @file
/// Names from a container as text of an XML document.
#pragma once

#include <string>
#include <string_view>

namespace MekVtu {

/// `bytes` for the value of an attribute in double quotes: markup is escaped, a control character
/// becomes a space, and what is no UTF-8, or no character of XML 1.0, becomes U+FFFD.
std::string xmlText(std::string_view bytes);

} // namespace MekVtu
