/// @file
/// Lists and extracts the whole blocks of a file that has no index and no journal.
#pragma once

#include "mekrecover/commandline.hpp"

#include <functional>
#include <string>

namespace MekRecover {

/// Prints a line for each whole block, and a summary. With `CommandLine::extractFolder` it writes
/// the content of block 7 to `block-000007.bin` there, and so on.
/// @param warn gets each problem as "path: reason"
/// @return whether all bytes of the file belong to whole blocks
/// @throws Console::FileError the file is complete, has another format, or cannot be read; or a
///     file cannot be written
bool saveBlocks(const CommandLine& commandLine,
                const std::function<void(const std::string&)>& warn);

} // namespace MekRecover
