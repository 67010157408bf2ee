/// @file
/// Standard output as a target for bytes that are no text.
#pragma once

namespace Console {

bool isStandardOutputTerminal();

/// Switches off the conversion of line ends, which Windows does by default.
void makeStandardOutputBinary();

} // namespace Console
