#include "tyr/mek2/helper/attributes.hpp"

#include <variant>

namespace Tyr::Mek2::Helper {

using TyrUtil::AttributeValue;

AttributeValue Attributes::AttributeValueGetter::operator()(const float& value) const {
    return AttributeValue::Of(value);
}

AttributeValue Attributes::AttributeValueGetter::operator()(const int& value) const {
    return AttributeValue::Of(static_cast<std::uint32_t>(value));
}

AttributeValue Attributes::AttributeValueGetter::operator()(const unsigned int& value) const {
    return AttributeValue::Of(std::uint32_t{value});
}

AttributeValue Attributes::AttributeValueGetter::operator()(const std::string& value) const {
    return AttributeValue::Of(value);
}

AttributeValue Attributes::AttributeValueGetter::operator()(const double& value) const {
    return AttributeValue::Of(value);
}

AttributeValue Attributes::AttributeValueGetter::operator()(const std::int64_t& value) const {
    return AttributeValue::Of(static_cast<std::uint32_t>(value));
}

TyrUtil::AttributeList Attributes::toAttributeList(const AttributeMap& map) {
    TyrUtil::AttributeList list;
    for (const auto& [key, value] : map) {
        list.values.Set(key, std::visit(AttributeValueGetter(), value));
    }
    return list;
}

void replaceEntries(TyrUtil::AttributeList& list, const TyrUtil::AttributeList& added) {
    for (const TyrUtil::PackedAttributes::Entry& entry : added.values) {
        list.values.Set(entry);
    }
}

} // namespace Tyr::Mek2::Helper
