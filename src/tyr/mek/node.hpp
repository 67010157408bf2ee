/// @file
/// The payload of a tree node: the data of one element of the model.
#pragma once

#include <cstdint>
#include <string>

namespace TyrMek {

/// Base of all nodes. A bare one serves as the pattern of a search by name.
class Node {
public:
    explicit Node(const std::string& nodeName);
    Node(const Node&) = default;
    Node& operator=(const Node&) = delete;
    virtual ~Node();

    /// The name of the class in the file.
    virtual std::string GetType() const;

    /// The version of the record of the class in the file.
    virtual std::string GetVersion() const;

    virtual bool GetFlag() const;

    // reserved, used by no class
    virtual void Reserved4();
    virtual void Reserved5();
    virtual void Reserved6();
    virtual void Reserved7();

    const std::string name;
    bool flag = false;
    bool secondFlag = false;
    std::uint32_t word = 0;
};

/// Same name, type and version.
struct NodesWithSameName {
    bool operator()(const Node* node, const Node* pattern) const;
};

/// Same name, whatever the type.
struct VirtualNodesWithSameName {
    bool operator()(const Node* node, const Node* pattern) const;
};

} // namespace TyrMek
