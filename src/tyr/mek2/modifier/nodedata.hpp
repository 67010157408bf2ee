/// @file
/// Sets placement, material and attributes of a node.
#pragma once

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/valuestorage.hpp"

namespace Tyr::Mek2::Modifier {

/// The command of `Model::setNodeData`.
class NodeData : public Base::Modifier<Database> {
public:
    NodeData(unsigned int nodeId, const PropertyMap& nodeProperties,
             const AttributeMap& nodeAttributes);

    /// After an error the properties before it stay applied.
    void update(Database& database) override;

    unsigned int id;
    PropertyMap properties;
    AttributeMap attributes;

private:
    template <class T>
    T notNull(T node) const;
};

} // namespace Tyr::Mek2::Modifier
