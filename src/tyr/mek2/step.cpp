#include <tyr/mek2/step.hpp>

#include "tyr/mek2/valuestorage.hpp"

namespace Tyr::Mek2 {

StepList::StepList(std::size_t n) : data_(new std::vector<StepData>(n)) {}

StepList::StepList(const StepList& other) : data_(new std::vector<StepData>(*other.data_)) {}

StepList::~StepList() {
    delete data_;
    data_ = nullptr;
}

const StepList& StepList::operator=(const StepList& other) {
    if (this != &other) {
        *data_ = *other.data_;
    }
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
