#include "tyr/mek2/extractor/nodeid.hpp"

namespace Tyr::Mek2::Extractor {

NodeId::NodeId(const std::string& nodePath, const std::string& pathSeparator)
    : path(nodePath), separator(pathSeparator) {}

unsigned int NodeId::extract(Database& database) {
    database.assertNotEmpty();
    return path.empty() ? 0 : database.tree->GetNodeIdFromPath(path, separator);
}

} // namespace Tyr::Mek2::Extractor
