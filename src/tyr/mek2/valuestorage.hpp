/// @file
/// What the handles of the public value types hold, and how the library reaches it.
#pragma once

#include <tyr/mek2/array.hpp>
#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/nodeproperties.hpp>
#include <tyr/mek2/step.hpp>

#include "tyr/mek2/valuecopy.hpp"

#include <Eigen/Core>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Tyr::Mek2 {

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

/// The inner form of a step.
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

/// Reads the inner objects of the public values.
struct ValueAccess {
    template <class T>
    static const Column<T>& of(const Array1d<T>& array) {
        return array.data_->values;
    }
    template <class T>
    static const Table<T>& of(const Array2d<T>& array) {
        return array.data_->values;
    }
    static const AttributeMap& of(const Attributes& attributes) { return *attributes.data_; }
    static AttributeMap& of(Attributes& attributes) { return *attributes.data_; }
    static const PropertyMap& of(const NodeProperties& properties) { return *properties.data_; }
    static const std::vector<StepData>& of(const StepList& steps) { return *steps.data_; }
};

} // namespace Tyr::Mek2
