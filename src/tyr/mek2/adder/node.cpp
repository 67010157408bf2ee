#include "tyr/mek2/adder/node.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek/group.hpp"
#include "tyr/mek/shape.hpp"
#include "tyr/mek2/helper/attributes.hpp"

#include <memory>
#include <utility>

namespace Tyr::Mek2::Adder {

using Helper::Attributes;

Node::Node(NodeType nodeType, const std::string& nodeName, const AttributeMap& nodeAttributes)
    : type(nodeType), name(nodeName), attributes(copyOf(nodeAttributes)) {}

void Node::update(Database& database) {
    database.assertOpenedForWriting();
    database.assertNotEmpty();
    TyrMek::Tree& tree = *database.tree;
    if (tree.GetReqNode(1).value == nullptr) {
        addRootNode(tree);
    } else {
        addNonRootNode(tree);
    }
    id = tree.currentId;
}

void Node::addRootNode(TyrMek::Tree& tree) {
    switch (type) {
        case NodeType::FlaggedRootGroup:
            tree.SetRootGroup(name, 1, Attributes::toAttributeList(attributes));
            break;
        case NodeType::RootGroup:
        case NodeType::Group:
            tree.SetRootGroup(name, Attributes::toAttributeList(attributes));
            break;
        case NodeType::Shape:
            tree.SetRootShape(name);
            break;
        default:
            TYR_RAISE(Exception::InvalidArguments("Invalid node type for root node"));
    }
}

void Node::addNonRootNode(TyrMek::Tree& tree) {
    switch (type) {
        case NodeType::Group:
            tree.AddChildNode(
                std::make_unique<TyrMek::Group>(name, Attributes::toAttributeList(attributes)));
            break;
        case NodeType::Shape: {
            auto shape = std::make_unique<TyrMek::Shape>(name);
            auto geometry = std::make_unique<TyrMek::Geometry>(name);
            tree.PrepareChildren(2);
            tree.AddChildNode(std::move(shape));
            tree.AddChildNode(std::move(geometry));
            break;
        }
        default:
            TYR_RAISE(Exception::InvalidArguments("Invalid node type"));
    }
}

} // namespace Tyr::Mek2::Adder
