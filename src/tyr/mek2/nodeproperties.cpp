#include <tyr/mek2/nodeproperties.hpp>

namespace Tyr::Mek2 {

NodeProperties::NodeProperties() : data_(new std::map<PropertyType, NodePropertyVariant>) {}

NodeProperties::NodeProperties(const NodeProperties& other)
    : data_(new std::map<PropertyType, NodePropertyVariant>(*other.data_)) {}

NodeProperties::~NodeProperties() {
    delete data_;
    data_ = nullptr;
}

const NodeProperties& NodeProperties::operator=(const NodeProperties& other) {
    if (this != &other) {
        *data_ = *other.data_;
    }
    return *this;
}

void NodeProperties::set(PropertyType type, const char* value) { set(type, std::string(value)); }

template void NodeProperties::set(PropertyType, const int&);
template void NodeProperties::set(PropertyType, const float&);
template void NodeProperties::set(PropertyType, const std::string&);
template void NodeProperties::set(PropertyType, const std::vector<int>&);
template void NodeProperties::set(PropertyType, const std::vector<float>&);
template void NodeProperties::set(PropertyType, const bool&);

} // namespace Tyr::Mek2
