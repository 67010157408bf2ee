/// @file
/// Adds one node.
#pragma once

#include <tyr/mek2/enumerations.hpp>

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <string>

namespace Tyr::Mek2::Adder {

/// The command of `Model::addNode`.
class Node : public Base::Modifier<Database> {
public:
    Node() = default;
    Node(NodeType nodeType, const std::string& nodeName, const AttributeMap& nodeAttributes);

    /// Stores the id of the new current node in `id`.
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
