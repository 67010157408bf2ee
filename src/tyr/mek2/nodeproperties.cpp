#include <tyr/mek2/nodeproperties.hpp>

#include "tyr/mek2/valuestorage.hpp"

#include <utility>

namespace Tyr::Mek2 {

NodeProperties::NodeProperties() : data_(new std::map<PropertyType, NodePropertyVariant>) {}

NodeProperties::NodeProperties(const NodeProperties& other) : data_(copyOfHeld(other.data_)) {}

NodeProperties::NodeProperties(NodeProperties&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)) {}

NodeProperties::~NodeProperties() {
    delete data_;
    data_ = nullptr;
}

const NodeProperties& NodeProperties::operator=(const NodeProperties& other) {
    if (this != &other) {
        NodeProperties copy(other);
        std::swap(data_, copy.data_);
    }
    return *this;
}

NodeProperties& NodeProperties::operator=(NodeProperties&& other) noexcept {
    NodeProperties taken(std::move(other));
    std::swap(data_, taken.data_);
    return *this;
}

#define TYR_MEK2_DEFINE(TYPE, STORED)                                                              \
    template <>                                                                                    \
    void NodeProperties::set(PropertyType type, const TYPE& value) {                               \
        heldOrNew(data_).insert_or_assign(type,                                                    \
                                          NodePropertyVariant(std::in_place_type<STORED>, value)); \
    }
TYR_MEK2_DEFINE(int, int)
TYR_MEK2_DEFINE(float, float)
TYR_MEK2_DEFINE(std::string, std::string)
TYR_MEK2_DEFINE(std::vector<int>, std::vector<int>)
TYR_MEK2_DEFINE(std::vector<float>, std::vector<float>)
TYR_MEK2_DEFINE(bool, int)
#undef TYR_MEK2_DEFINE

void NodeProperties::set(PropertyType type, const char* value) { set(type, std::string(value)); }

} // namespace Tyr::Mek2
