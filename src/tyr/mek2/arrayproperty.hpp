/// @file
/// What `Model::addArrayProperty` writes, and the table of dataset types.
#pragma once

#include <tyr/mek2/enumerations.hpp>

#include "tyr/data/data.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek2/valuestorage.hpp"
#include "tyr/type/traits.hpp"

#include <string>
#include <utility>

namespace Tyr::Mek2 {

/// What a dataset type fixes.
/// @throws InvalidArguments "Can't guess result width for specified type" and its like, for a type
///     that does not exist or has no name of its own
struct DatasetTable {
    static unsigned char widthFrom(DatasetType type);
    static std::string nameFrom(DatasetType type);
    static TyrMek::Geometry::VariableType geomTypeFrom(DatasetType type);
};

template <class Data>
class ArrayProperty : public Data {
public:
    ArrayProperty() = default;
    ArrayProperty(const ArrayProperty&) = delete;
    ArrayProperty(ArrayProperty&&) = default;
    ArrayProperty& operator=(const ArrayProperty&) = delete;
    ArrayProperty& operator=(ArrayProperty&&) = default;
    ~ArrayProperty() override = default;

    static unsigned char widthFrom(DatasetType type) { return DatasetTable::widthFrom(type); }
    static std::string nameFrom(DatasetType type) { return DatasetTable::nameFrom(type); }
    static TyrMek::Geometry::VariableType geomTypeFrom(DatasetType type) {
        return DatasetTable::geomTypeFrom(type);
    }

    /// Takes over array and attributes.
    void setData(Data&& data) { static_cast<Data&>(*this) = std::move(data); }

    std::string name;
    DatasetType type = DatasetType::ResultA1;
    unsigned char width = 1; ///< numbers per row that the type demands
};

template <class T>
using ColumnData = Data::Data<Column<T>, AttributeMap, Type::Traits<T>>;
template <class T>
using TableData = Data::Data<Table<T>, AttributeMap, Type::Traits<T>>;

} // namespace Tyr::Mek2
