#include "tyr/mek2/saver.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek2/safeoutput.hpp"

#include <memory>
#include <optional>

namespace Tyr::Mek2 {

void Saver::save(Database& database) {
    database.assertEmpty();
    if (options.compressionLevel < 1 || options.compressionLevel > 9) {
        TYR_RAISE(Exception::InvalidArguments("compressionLevel is not 1 to 9"));
    }
    database.openedForReading = false;
    database.openedForWriting = true;
    database.tree = std::make_shared<TyrMek::Tree>();
    database.relinkReplaced = options.relinkReplaced;
    database.blockSize = options.blockSize != 0 ? std::optional(options.blockSize) : std::nullopt;
    database.tree->file.index.SetCompression(options.compressionLevel, options.parallelFor);
    const BlockSizeScope scope(database);
    if (!options.toolName.empty()) {
        database.tree->currentModifier.toolName = options.toolName;
        database.tree->currentModifier.toolVersion = options.toolVersion;
    }
    if (options.journal || options.replaceWhenComplete) {
        openSafely(database);
    } else if (!description.path.empty()) {
        database.tree->SetStreamFile(description.path, options.overwrite);
    } else if (!description.widePath.empty()) {
        database.tree->SetStreamFile(description.widePath, options.overwrite);
    }
}

void Saver::openSafely(Database& database) {
    const bool isWide = !description.widePath.empty();
    if (!isWide && description.path.empty()) {
        return;
    }
    const std::optional<Platform::NativePath> path =
        isWide ? Platform::nativePath(description.widePath)
               : Platform::nativePath(description.path);
    if (!path) {
        TYR_RAISE(Exception::MiscelleneousException("Unable to open file: invalid path"));
    }
    database.output = std::make_unique<SafeOutput>(*path, options, *database.tree);
}

} // namespace Tyr::Mek2
