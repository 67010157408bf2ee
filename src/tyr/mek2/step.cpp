#include <tyr/mek2/step.hpp>

#include "tyr/mek2/valuestorage.hpp"

#include <utility>

namespace Tyr::Mek2 {

StepList::StepList(std::size_t n) : data_(new std::vector<StepData>(n)) {}

StepList::StepList(const StepList& other) : data_(copyOfHeld(other.data_)) {}

StepList::StepList(StepList&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}

StepList::~StepList() {
    delete data_;
    data_ = nullptr;
}

const StepList& StepList::operator=(const StepList& other) {
    if (this != &other) {
        StepList copy(other);
        std::swap(data_, copy.data_);
    }
    return *this;
}

StepList& StepList::operator=(StepList&& other) noexcept {
    StepList taken(std::move(other));
    std::swap(data_, taken.data_);
    return *this;
}

Step StepList::operator[](std::size_t i) const {
    const StepData& data = (*data_)[i];
    Step step;
    step.name = data.name;
    ValueAccess::of(step.attributes) = copyOf(data.attributes);
    return step;
}

void StepList::set(std::size_t i, const Step& step) {
    (*data_)[i] = StepData(step.name, ValueAccess::of(step.attributes));
}

} // namespace Tyr::Mek2
