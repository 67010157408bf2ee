/// @file
/// Container files of a fuzzer's bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Fuzz {

/// Writes a file that the bytes tell: its first byte is even and the others are the file itself; or
/// a container whose tables and checksums are right, so that its content is looked at, of which up
/// to three bytes are changed then.
void writeContainerInput(const std::uint8_t* data, std::size_t size, const std::string& path);

} // namespace Fuzz
