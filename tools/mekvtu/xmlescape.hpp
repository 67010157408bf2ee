/// @file
/// Names of a model as attribute values of an XML document.
#pragma once

#include <string>
#include <string_view>

namespace MekVtu {

/// Converts `bytes` to an attribute value for double quotes. Markup is escaped and control
/// characters become spaces. Invalid UTF-8, and characters that XML 1.0 does not allow, become
/// U+FFFD.
std::string escapeXml(std::string_view bytes);

} // namespace MekVtu
