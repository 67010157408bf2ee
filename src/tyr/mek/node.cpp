#include "tyr/mek/node.hpp"

namespace TyrMek {

Node::Node(const std::string& nodeName) : name(nodeName) {}
Node::~Node() = default;

std::string Node::GetType() const { return "Node"; }
std::string Node::GetVersion() const { return "0.1"; }
bool Node::GetFlag() const { return flag; }

void Node::Reserved4() {}
void Node::Reserved5() {}
void Node::Reserved6() {}
void Node::Reserved7() {}

bool NodesWithSameName::operator()(const Node* node, const Node* pattern) const {
    return node->name == pattern->name && node->GetType() == pattern->GetType() &&
           node->GetVersion() == pattern->GetVersion();
}

bool VirtualNodesWithSameName::operator()(const Node* node, const Node* pattern) const {
    return node->name == pattern->name;
}

} // namespace TyrMek
