/// @file
/// The objects behind the opaque handles of the C interface.
#pragma once

#include <mekapi2.h>
#include <tyr/mek2/model.hpp>

#include "errors.hpp"

#include <memory>
#include <string>

/// Attributes, as those of a step: to add an array for one step, only its name is set. A copy for
/// each array would take longer than all the rest of this interface.
struct mek_attributes {
    mutable Tyr::Mek2::Step step{};
};

struct mek_properties {
    Tyr::Mek2::NodeProperties values{};
};

struct mek_options {
    Tyr::Mek2::SaverOptions values{};
};

struct mek_model {
    Tyr::Mek2::Model model{};
    std::string temporaryPath{};
    MekC::LastError lastError{};
};

namespace MekC {

/// Runs a call with a model, which `action` receives.
template <class Action>
mek_status runWith(mek_model* model, const char* call, const Action& action) noexcept {
    LastError& last = model != nullptr ? model->lastError : lastErrorOfThread();
    return run(last, call, [&] { action(required(model, "the model").model); });
}

/// Runs a call that creates an object.
template <class Handle>
mek_status create(Handle** handle, const char* call) noexcept {
    return run(call, [&] {
        Handle*& created = required(handle, "the address of the handle");
        created = std::make_unique<Handle>().release();
    });
}

/// The attributes, or none if the pointer is null.
inline const Tyr::Mek2::Attributes& valuesOf(const mek_attributes* attributes) {
    static const Tyr::Mek2::Attributes none;
    return attributes != nullptr ? attributes->step.attributes : none;
}

/// @param name of the argument
inline const char* requiredString(const char* string, const char* name) {
    checkNotNull(string, name);
    return string;
}

/// @param values can have any alignment
/// @throws Refusal `MEK_MISUSE`: `values` is null, and `count` is not 0
template <class T>
const T* requiredArray(const T* values, std::size_t count, const char* name) {
    if (count != 0) {
        checkNotNull(values, name);
    }
    return values;
}

} // namespace MekC
