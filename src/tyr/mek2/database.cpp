#include "tyr/mek2/database.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek2/safeoutput.hpp"

#include <utility>

namespace Tyr::Mek2 {

Database::Database() = default;

Database::~Database() {
    try {
        Database::close();
    } catch (...) {
        // a destructor cannot report it; the destructor of the tree closes the stream
    }
}

void Database::close() {
    if (!tree) {
        return;
    }
    const BlockSizeScope scope(*this);
    if (openedForWriting && !tree->saveBegun) {
        save();
    }
    tree->file.CloseFile();
    for (const auto& [id, node] : std::as_const(tree->nodes)) {
        if (auto* const geometry = dynamic_cast<TyrMek::Geometry*>(node.value)) {
            geometry->ClearOffsets();
        }
    }
    tree.reset();
    output.reset();
    openState = 1;
    openedForReading = false;
    openedForWriting = false;
}

void Database::save() {
    try {
        tree->Save(tree->file, "");
        if (output) {
            output->complete();
        }
    } catch (...) {
        if (output) { // nothing more can be written
            tree->file.CloseFile();
            output.reset();
        }
        throw;
    }
}

void Database::abandon() {
    if (tree && output && output->needsClose()) {
        tree->saveBegun = true;
    }
    close();
}

void Database::assertEmpty() const {
    if (tree) {
        TYR_RAISE(Exception::InvalidObjectState("Not Empty"));
    }
}

void Database::assertNotEmpty() const {
    if (!tree) {
        TYR_RAISE(Exception::InvalidObjectState("Not initialized"));
    }
}

void Database::assertOpenedForWriting() const {
    if (!tree) {
        TYR_RAISE(Exception::InvalidObjectState("File not open."));
    }
    if (!openedForWriting) {
        TYR_RAISE(Exception::InvalidObjectState("File not opened in write mode"));
    }
}

} // namespace Tyr::Mek2
