#include "tyr/mek2/saver.hpp"

#include <memory>

namespace Tyr::Mek2 {

void Saver::save(Database& database) {
    database.assertEmpty();
    database.openedForReading = false;
    database.openedForWriting = true;
    database.tree = std::make_shared<TyrMek::Tree>();
    database.relinkReplaced = options.relinkReplaced;
    if (!description.path.empty()) {
        database.tree->SetStreamFile(description.path, options.overwrite);
    } else if (!description.widePath.empty()) {
        database.tree->SetStreamFile(description.widePath, options.overwrite);
    }
    if (!options.toolName.empty()) {
        database.tree->currentModifier.toolName = options.toolName;
        database.tree->currentModifier.toolVersion = options.toolVersion;
    }
}

} // namespace Tyr::Mek2
