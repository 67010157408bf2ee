#include <tyr/mek2/attributes.hpp>

#include "tyr/mek2/valuestorage.hpp"

#include <utility>

namespace Tyr::Mek2 {

Attributes::Attributes() : data_(new std::map<std::string, AttributeVariant>) {}

Attributes::Attributes(const Attributes& other) : data_(copyOfHeld(other.data_)) {}

Attributes::Attributes(Attributes&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}

Attributes::~Attributes() {
    delete data_;
    data_ = nullptr;
}

const Attributes& Attributes::operator=(const Attributes& other) {
    if (this != &other) {
        Attributes copy(other);
        std::swap(data_, copy.data_);
    }
    return *this;
}

Attributes& Attributes::operator=(Attributes&& other) noexcept {
    Attributes taken(std::move(other));
    std::swap(data_, taken.data_);
    return *this;
}

#define TYR_MEK2_DEFINE(TYPE)                                                                      \
    template <>                                                                                    \
    void Attributes::set(const std::string& key, const TYPE& value) {                              \
        heldOrNew(data_).insert_or_assign(key, AttributeVariant(std::in_place_type<TYPE>, value)); \
    }
TYR_MEK2_DEFINE(float)
TYR_MEK2_DEFINE(std::vector<float>)
TYR_MEK2_DEFINE(int)
TYR_MEK2_DEFINE(std::vector<int>)
TYR_MEK2_DEFINE(unsigned int)
TYR_MEK2_DEFINE(std::vector<unsigned int>)
TYR_MEK2_DEFINE(std::string)
#undef TYR_MEK2_DEFINE

void Attributes::set(const std::string& key, const char* value) { set(key, std::string(value)); }

} // namespace Tyr::Mek2
