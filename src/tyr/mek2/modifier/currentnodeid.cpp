#include "tyr/mek2/modifier/currentnodeid.hpp"

#include "tyr/exception/raise.hpp"

namespace Tyr::Mek2::Modifier {

CurrentNodeId::CurrentNodeId(unsigned int nodeId) : id(nodeId) {}

void CurrentNodeId::update(Database& database) {
    database.assertNotEmpty();
    TyrMek::Tree& tree = *database.tree;
    if (id == 0 || id > tree.nodes.size()) {
        TYR_RAISE(Exception::OutOfBounds());
    }
    tree.SetCurrentId(id);
}

void UpMover::update(Database& database) {
    database.assertNotEmpty();
    database.tree->MoveToParent();
}

} // namespace Tyr::Mek2::Modifier
