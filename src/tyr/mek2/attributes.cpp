#include <tyr/mek2/attributes.hpp>

namespace Tyr::Mek2 {

Attributes::Attributes() : data_(new std::map<std::string, AttributeVariant>) {}

Attributes::Attributes(const Attributes& other)
    : data_(new std::map<std::string, AttributeVariant>(*other.data_)) {}

Attributes::~Attributes() {
    delete data_;
    data_ = nullptr;
}

const Attributes& Attributes::operator=(const Attributes& other) {
    if (this != &other) {
        *data_ = *other.data_;
    }
    return *this;
}

void Attributes::set(const std::string& key, const char* value) { set(key, std::string(value)); }

template void Attributes::set(const std::string&, const float&);
template void Attributes::set(const std::string&, const std::vector<float>&);
template void Attributes::set(const std::string&, const int&);
template void Attributes::set(const std::string&, const std::vector<int>&);
template void Attributes::set(const std::string&, const unsigned int&);
template void Attributes::set(const std::string&, const std::vector<unsigned int>&);
template void Attributes::set(const std::string&, const std::string&);

} // namespace Tyr::Mek2
