/// @file
/// The array that `Model::addArrayProperty` writes, and the table of dataset types.
#pragma once

#include <tyr/mek2/enumerations.hpp>

#include "tyr/data/data.hpp"
#include "tyr/exception/raise.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek2/packedrows.hpp"
#include "tyr/mek2/valuestorage.hpp"
#include "tyr/type/traits.hpp"

#include <cstdint>
#include <string>
#include <utility>

namespace Tyr::Mek2 {

/// The table of dataset types: one row.
struct Dataset {
    const char* name; ///< default name; null: none
    unsigned char width;
    std::uint32_t variableType;
};

/// The row of `type`, or null if there is no such type.
const Dataset* findDataset(DatasetType type);

/// An array with its attributes, name and type. The static operations read the table of dataset
/// types.
template <class Data>
class ArrayProperty : public Data {
public:
    ArrayProperty() = default;
    ArrayProperty(const ArrayProperty&) = default;
    ArrayProperty(ArrayProperty&&) = default;
    ArrayProperty& operator=(const ArrayProperty&) = default;
    ArrayProperty& operator=(ArrayProperty&&) = default;
    ~ArrayProperty() override = default;

    /// @throws InvalidArguments "Can't guess result width for specified type": unknown type
    static unsigned char widthFrom(DatasetType type) {
        const Dataset* const dataset = findDataset(type);
        if (dataset == nullptr) {
            TYR_RAISE(Exception::InvalidArguments("Can't guess result width for specified type"));
        }
        return dataset->width;
    }

    /// @throws InvalidArguments "Can't guess result name for specified type": unknown type, or one
    ///     without a default name
    static std::string nameFrom(DatasetType type) {
        const Dataset* const dataset = findDataset(type);
        if (dataset == nullptr || dataset->name == nullptr) {
            TYR_RAISE(Exception::InvalidArguments("Can't guess result name for specified type"));
        }
        return dataset->name;
    }

    /// @throws InvalidArguments "Can't guess result type for specified type": unknown type
    static TyrMek::Geometry::VariableType geomTypeFrom(DatasetType type) {
        const Dataset* const dataset = findDataset(type);
        if (dataset == nullptr) {
            TYR_RAISE(Exception::InvalidArguments("Can't guess result type for specified type"));
        }
        return static_cast<TyrMek::Geometry::VariableType>(dataset->variableType);
    }

    /// Replaces array and attributes.
    void setData(Data data) { static_cast<Data&>(*this) = std::move(data); }

    std::string name;
    DatasetType type = DatasetType::ResultA1;
    unsigned char width = 1; ///< numbers per row that the type requires
};

template <class T>
using ColumnData = Data::Data<Column<T>, AttributeMap, Type::Traits<T>>;
template <class T>
using TableData = Data::Data<Table<T>, AttributeMap, Type::Traits<T>>;
using PackedData = Data::Data<PackedRows, AttributeMap, PackedRows>;

/// The code of the element type in the file.
template <class Data>
std::uint32_t elementTypeOf(const ArrayProperty<Data>&) {
    return Data::Traits::elementType;
}
inline std::uint32_t elementTypeOf(const ArrayProperty<PackedData>& property) {
    return property.array.elementType();
}

} // namespace Tyr::Mek2
