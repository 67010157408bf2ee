/// @file
/// Adds one node.
#pragma once

#include <tyr/mek2/enumerations.hpp>

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <string>

namespace Tyr::Mek2::Adder {

class Node : public Base::Modifier<Database> {
public:
    Node() = default;
    Node(NodeType nodeType, const std::string& nodeName, const AttributeMap& nodeAttributes);

    /// Leaves the id of the node under the cursor in `id`.
    void update(Database& database) override;

    NodeType type = NodeType::RootGroup;
    std::string name;
    AttributeMap attributes;
    unsigned int id = 0;

private:
    void addRootNode(TyrMek::Tree& tree);
    void addNonRootNode(TyrMek::Tree& tree);
};

} // namespace Tyr::Mek2::Adder
