/// @file
/// The objects that the public value classes hold, and the library's access to them.
///
/// A public value holds a pointer to one heap object. The pointer is null in a moved-from value
/// only, which reads as an empty one. `PackedArray` shares its object, which never changes.
#pragma once

#include <tyr/mek2/array.hpp>
#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/nodeproperties.hpp>
#include <tyr/mek2/packedarray.hpp>
#include <tyr/mek2/step.hpp>

#include "tyr/variant/copy.hpp"

#include <Eigen/Core>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tyr::Mek2 {

using Variant::copyOf;

using AttributeMap = std::map<std::string, AttributeVariant>;
using PropertyMap = std::map<PropertyType, NodePropertyVariant>;

template <class T>
using Column = Eigen::Array<T, Eigen::Dynamic, 1>;
template <class T>
using Table = Eigen::Array<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

template <class T>
struct ColumnStorage {
    Column<T> values;
};

template <class T>
struct TableStorage {
    Table<T> values;
};

/// The object that a public value points to.
template <class Held>
const Held& heldBy(const Held* object) {
    static const Held empty{};
    return object != nullptr ? *object : empty;
}

/// The same object, to be changed. A moved-from value gets a new one first.
template <class Held>
Held& heldOrNew(Held*& object) {
    if (object == nullptr) {
        object = new Held();
    }
    return *object;
}

/// A copy for another public value, which owns it.
template <class Held>
Held* copyOfHeld(const Held* object) {
    return object != nullptr ? new Held(copyOf(*object)) : nullptr;
}

/// A step as the library keeps it.
struct StepData {
    StepData() = default;
    StepData(const std::string& stepName, const AttributeMap& stepAttributes)
        : name(stepName), attributes(copyOf(stepAttributes)) {}
    StepData(const StepData& other) : StepData(other.name, other.attributes) {}
    StepData(StepData&&) = default;
    StepData& operator=(const StepData& other) { return *this = StepData(other); }
    StepData& operator=(StepData&&) = default;
    ~StepData() = default;

    std::string name{};
    AttributeMap attributes{};
};

/// Access to the objects of the public values.
struct ValueAccess {
    template <class T>
    static const Column<T>& of(const Array1d<T>& array) {
        return heldBy(array.data_).values;
    }
    template <class T>
    static const Table<T>& of(const Array2d<T>& array) {
        return heldBy(array.data_).values;
    }
    static const AttributeMap& of(const Attributes& attributes) { return heldBy(attributes.data_); }
    static AttributeMap& of(Attributes& attributes) { return heldOrNew(attributes.data_); }
    static const PropertyMap& of(const NodeProperties& properties) {
        return heldBy(properties.data_);
    }
    static const std::vector<StepData>& of(const StepList& steps) { return heldBy(steps.data_); }
    static const std::shared_ptr<const PackedStorage>& of(const PackedStream& array) {
        return array.data_;
    }
    static const std::shared_ptr<const PackedStorage>& of(const PackedArray& array) {
        return array.data_;
    }
};

} // namespace Tyr::Mek2
