#include "tyr/mek2/adder/attachment.hpp"

#include "tyr/mek2/helper/attributes.hpp"

#include <utility>

namespace Tyr::Mek2::Adder {

namespace {

/// Separates the name of a result from the name of a step.
constexpr char stepSeparator = '\x1E';

/// Attributes of the call replace those of the step with the same key.
TyrUtil::AttributeList withStepAttributes(const TyrUtil::AttributeList& attributes,
                                          const StepData& step) {
    const TyrUtil::AttributeList added = Helper::Attributes::toAttributeList(step.attributes);
    TyrUtil::AttributeList merged = attributes;
    for (const TyrUtil::PackedAttributes::Entry& entry : added.values) {
        merged.values.Add(entry);
    }
    return merged;
}

} // namespace

void Attachment::attach(TyrMek::Tree& tree, unsigned int id, const StepData& step,
                        std::size_t coming) {
    const std::string variableName = step.name.empty() ? name : name + stepSeparator + step.name;
    const TyrUtil::AttributeList variableAttributes = withStepAttributes(attributes, step);
    tree.currentId = id;
    auto* const geometry =
        dynamic_cast<TyrMek::Geometry*>(std::as_const(tree).GetCurrentNode().value);
    if (geometry == nullptr) {
        return;
    }
    geometry->MakeRoomForVariables(coming);
    const unsigned int index =
        geometry->AddVariable(variableName, type, offset, array, variableAttributes);
    if (!owner) {
        owner = Place{id, index};
        if (relinkReplaced) {
            geometry->MakeOwner(index);
        }
    } else if (id != owner->nodeId || index != owner->index) {
        geometry->MakeLink(index, owner->nodeId, owner->index);
    }
}

} // namespace Tyr::Mek2::Adder
