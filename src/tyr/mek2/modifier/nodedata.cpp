#include "tyr/mek2/modifier/nodedata.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek/group.hpp"
#include "tyr/mek/material.hpp"
#include "tyr/mek/shape.hpp"
#include "tyr/mek2/helper/attributes.hpp"
#include "tyr/variant/visitor/valuegetter.hpp"

#include <utility>
#include <variant>
#include <vector>

namespace Tyr::Mek2::Modifier {

namespace {

template <class T>
T valueOf(const NodePropertyVariant& value) {
    return std::visit(Variant::Visitor::ValueGetter<T>(), value);
}

using Floats = std::vector<float>;

void placeGroup(TyrMek::Group& group, PropertyType type, const NodePropertyVariant& value) {
    if (type == PropertyType::Translation) {
        group.SetTranslation(valueOf<Floats>(value));
    } else if (type == PropertyType::Rotation) {
        group.SetRotation(valueOf<Floats>(value));
    } else {
        group.SetScale(valueOf<Floats>(value));
    }
}

void setMaterial(TyrMek::Material& material, PropertyType type, const NodePropertyVariant& value) {
    switch (type) {
        case PropertyType::DiffuseColor:
            return material.SetDiffuseColor(valueOf<Floats>(value));
        case PropertyType::SpecularColor:
            return material.SetSpecularColor(valueOf<Floats>(value));
        case PropertyType::EmissiveColor:
            return material.SetEmissiveColor(valueOf<Floats>(value));
        case PropertyType::AmbientColor:
            return material.SetAmbientColor(valueOf<Floats>(value));
        case PropertyType::Transparency:
            material.transparency = valueOf<float>(value);
            return;
        case PropertyType::AmbientIntensity:
            return material.SetAmbientIntensity(valueOf<float>(value));
        case PropertyType::Shininess:
            material.shininess = valueOf<float>(value);
            return;
        default:
            material.materialFlag = valueOf<bool>(value);
    }
}

} // namespace

NodeData::NodeData(unsigned int nodeId, const PropertyMap& nodeProperties,
                   const AttributeMap& nodeAttributes)
    : id(nodeId), properties(copyOf(nodeProperties)), attributes(copyOf(nodeAttributes)) {}

void NodeData::update(Database& database) {
    database.assertOpenedForWriting();
    database.assertNotEmpty();
    TyrMek::Tree& tree = *database.tree;
    if (id == 0 || id > tree.nodes.size()) {
        TYR_RAISE(Exception::OutOfBounds());
    }
    tree.SetCurrentId(id);

    const auto& current = std::as_const(tree).GetCurrentNode();
    TyrMek::Node* const node = current.value;
    auto* const group = dynamic_cast<TyrMek::Group*>(node);
    auto* shape = dynamic_cast<TyrMek::Shape*>(node);
    if (dynamic_cast<TyrMek::Geometry*>(node) != nullptr && current.parentId != 0) {
        tree.currentId = current.parentId;
        shape = dynamic_cast<TyrMek::Shape*>(std::as_const(tree).GetCurrentNode().value);
    }
    for (const auto& [type, value] : properties) {
        if (type < PropertyType::Translation || type > PropertyType::MaterialFlag) {
            TYR_RAISE(Exception::InvalidArguments("Invalid properties"));
        }
        if (type <= PropertyType::Scale) {
            placeGroup(*notNull(group), type, value);
        } else {
            setMaterial(notNull(shape)->material, type, value);
        }
    }
    if (!attributes.empty() && group != nullptr) {
        Helper::replaceEntries(group->attributes, Helper::Attributes::toAttributeList(attributes));
    }
}

template <class T>
T NodeData::notNull(T node) const {
    if (node == nullptr) {
        TYR_RAISE(Exception::InvalidArguments("Invalid property type"));
    }
    return node;
}

} // namespace Tyr::Mek2::Modifier
