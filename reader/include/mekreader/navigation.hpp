/// @file
/// Ancestors and paths of nodes.
///
/// @code
/// #include <mekreader/navigation.hpp>
///
/// #include <iostream>
///
/// int main(int argc, char** argv) {
///     for (int i = 1; i < argc; ++i) {
///         const MekReader::File file(argv[i]);
///         for (const MekReader::Node& node : file.nodes()) {
///             std::cout << MekReader::pathOf(file, node) << ": "
///                       << MekReader::childrenOf(file, node).size() << " children\n";
///         }
///     }
/// }
/// @endcode
#pragma once

#include "mekreader/model.hpp"

#include <string>
#include <vector>

namespace MekReader {

/// The parent, its parent and so on, up to the root.
/// @throws Error a parent does not have a smaller id than its child
std::vector<const Node*> ancestorsOf(const File& file, const Node& node);

/// The children, in ascending order of their ids.
/// @throws Error a child does not have a larger id than the one before it, or has another parent
std::vector<const Node*> childrenOf(const File& file, const Node& node);

/// The names from the root to the node, each preceded by a '/'. Names are not escaped. The path of
/// a geometry is that of its shape; `Model::getNodeId` needs the name of the shape once more.
/// @throws Error as `ancestorsOf`
std::string pathOf(const File& file, const Node& node);

} // namespace MekReader
