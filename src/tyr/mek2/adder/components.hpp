/// @file
/// Adds the nodes of a list of paths.
#pragma once

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <map>
#include <string>
#include <vector>

namespace Tyr::Mek2::Adder {

/// The command of `Model::addAssemblyComponents`. Instantiated for a vector of paths, and for a map
/// from path to attributes.
template <class Container, class Array>
class Components : public Base::Modifier<Database> {
public:
    explicit Components(const Container& paths);

    /// Stores one id for each path in `result`.
    void update(Database& database) override;

    Container paths;
    std::string separator = "\x1E";
    Array result;

private:
    class Visitor;
};

using PathList = std::vector<std::string>;
using PathMap = std::map<std::string, AttributeMap>;

extern template class Components<PathList, Column<unsigned int>>;
extern template class Components<PathMap, Column<unsigned int>>;

} // namespace Tyr::Mek2::Adder
