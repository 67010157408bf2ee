/// @file
/// Recovery from a journal.
#pragma once

#include "mekrecover/commandline.hpp"

#include <functional>
#include <string>

namespace MekRecover {

/// Writes the complete file and prints what was saved and what is lost.
/// @param warn gets each problem as "path: reason"
/// @return whether everything that the journal records was saved
/// @throws Console::FileError nothing can be saved, or the output cannot be written
bool recoverModel(const CommandLine& commandLine,
                  const std::function<void(const std::string&)>& warn);

} // namespace MekRecover
