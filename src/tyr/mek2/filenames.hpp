/// @file
/// The names of the files beside a model file: its journal and its temporary file.
#pragma once

#include "tyr/platform/files.hpp"

#include <optional>

namespace Tyr::Mek2 {

/// `TARGET.journal`.
Platform::NativePath journalPathOf(const Platform::NativePath& target);

/// The model file of a journal; none if the name is not that of a journal.
std::optional<Platform::NativePath> targetOfJournal(const Platform::NativePath& journal);

/// `TARGET.XXXXXXXX.part` with random hexadecimal digits.
Platform::NativePath newTemporaryPath(const Platform::NativePath& target);

/// The model file of a temporary file; none if the name is not that of a temporary file.
std::optional<Platform::NativePath> targetOfTemporary(const Platform::NativePath& temporary);

} // namespace Tyr::Mek2
