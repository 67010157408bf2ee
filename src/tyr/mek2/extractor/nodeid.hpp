/// @file
/// Finds a node by its path.
#pragma once

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"

#include <string>

namespace Tyr::Mek2::Extractor {

/// The command of `Model::getNodeId`.
class NodeId : public Base::Extractor<Database, unsigned int> {
public:
    NodeId(const std::string& nodePath, const std::string& pathSeparator);

    /// The id, or 0 if there is no such node.
    unsigned int extract(Database& database) override;

    std::string path;
    std::string separator;
};

} // namespace Tyr::Mek2::Extractor
