#include "tyr/mek2/modifier/nodedata.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek/group.hpp"
#include "tyr/mek/shape.hpp"
#include "tyr/mek2/helper/attributes.hpp"
#include "tyr/variant/visitor/valuegetter.hpp"

#include <variant>
#include <vector>

namespace Tyr::Mek2::Modifier {

namespace {

template <class T>
T valueOf(const NodePropertyVariant& value) {
    return std::visit(Variant::Visitor::ValueGetter<T>(), value);
}

using Floats = std::vector<float>;

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

    TyrMek::Node* const node = tree.GetCurrentNode().value;
    auto* const group = dynamic_cast<TyrMek::Group*>(node);
    auto* shape = dynamic_cast<TyrMek::Shape*>(node);
    const unsigned int parentId = tree.GetCurrentNode().parentId;
    if (dynamic_cast<TyrMek::Geometry*>(node) != nullptr && parentId != 0) {
        tree.currentId = parentId;
        shape = dynamic_cast<TyrMek::Shape*>(tree.GetCurrentNode().value);
    }
    for (const auto& [type, value] : properties) {
        apply(type, value, group, shape);
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

void NodeData::apply(PropertyType type, const NodePropertyVariant& value, TyrMek::Group* group,
                     TyrMek::Shape* shape) const {
    switch (type) {
        case PropertyType::Translation:
            notNull(group)->SetTranslation(valueOf<Floats>(value));
            break;
        case PropertyType::Rotation:
            notNull(group)->SetRotation(valueOf<Floats>(value));
            break;
        case PropertyType::Scale:
            notNull(group)->SetScale(valueOf<Floats>(value));
            break;
        case PropertyType::DiffuseColor:
            notNull(shape)->material.SetDiffuseColor(valueOf<Floats>(value));
            break;
        case PropertyType::SpecularColor:
            notNull(shape)->material.SetSpecularColor(valueOf<Floats>(value));
            break;
        case PropertyType::EmissiveColor:
            notNull(shape)->material.SetEmissiveColor(valueOf<Floats>(value));
            break;
        case PropertyType::AmbientColor:
            notNull(shape)->material.SetAmbientColor(valueOf<Floats>(value));
            break;
        case PropertyType::Transparency:
            notNull(shape)->material.transparency = valueOf<float>(value);
            break;
        case PropertyType::AmbientIntensity:
            notNull(shape)->material.SetAmbientIntensity(valueOf<float>(value));
            break;
        case PropertyType::Shininess:
            notNull(shape)->material.shininess = valueOf<float>(value);
            break;
        case PropertyType::MaterialFlag:
            notNull(shape)->material.materialFlag = valueOf<bool>(value);
            break;
        default:
            TYR_RAISE(Exception::InvalidArguments("Invalid properties"));
    }
}

} // namespace Tyr::Mek2::Modifier
