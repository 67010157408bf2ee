/// @file
/// Finds nodes and variables of a file by their names.
///
/// A path is the names of the nodes from the root on, such as "/plate/surface". The first slash can
/// be left out, and a name can contain slashes. If several nodes have one path, the first is found:
/// depth first, children in the order of their ids.
#pragma once

#include "mekreader/model.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace MekNames {

/// There is no such node, variable or step. The message names it and lists what there is.
class NotFound : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The tree of a file.
class Tree {
public:
    /// @param file must outlive the object
    /// @throws MekReader::Error an id or a parent is invalid
    explicit Tree(const MekReader::File& file);

    /// The node at a path; null if there is none.
    const MekReader::Node* find(std::string_view path) const;

    /// @param node of the file
    std::string pathOf(const MekReader::Node& node) const;

    /// The node that has the variables of `node`: of a shape its first geometry, otherwise the
    /// node.
    const MekReader::Node& geometryOf(const MekReader::Node& node) const;

    /// The path that users know: of the geometry of a shape that of the shape.
    std::string shapePathOf(const MekReader::Node& node) const;

    const MekReader::File& file() const { return file_; }

private:
    const MekReader::Node* parentOf(const MekReader::Node& node) const;

    const MekReader::File& file_;
    std::vector<std::vector<const MekReader::Node*>> children_; ///< by id - 1 of the parent
};

/// The variable of a quantity and step at the node of a path. If several have these names, the
/// first.
/// @param step empty for the array that belongs to no step
/// @throws NotFound
const MekReader::Variable& findVariable(const Tree& tree, std::string_view path,
                                        std::string_view quantity,
                                        std::optional<std::string_view> step);

} // namespace MekNames
