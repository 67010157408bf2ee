/// @file
/// Writes an array and attaches it to geometries.
#pragma once

#include "tyr/base/command.hpp"
#include "tyr/mek2/arrayproperty.hpp"
#include "tyr/mek2/database.hpp"

#include <cstdint>
#include <vector>

namespace Tyr::Mek2::Adder {

/// The command of `Model::addArrayProperty`. Instantiated for the five kinds of arrays.
template <class Property, class Ids, class Steps>
class ArrayProperty : public Base::Modifier<Database> {
public:
    /// After an error the dataset stays in the stream, and the variables that were attached before
    /// it stay.
    void update(Database& database) override;

    Property property;
    Ids ids;
    Steps steps;

    std::uint64_t datasetOffset = 0; ///< in "Heavy Data", once the dataset is written
    std::uint64_t attached = 0;      ///< pairs of id and step that are done
};

template <class T>
using ColumnAdder =
    ArrayProperty<Mek2::ArrayProperty<ColumnData<T>>, Column<unsigned int>, std::vector<StepData>>;
template <class T>
using TableAdder =
    ArrayProperty<Mek2::ArrayProperty<TableData<T>>, Column<unsigned int>, std::vector<StepData>>;
using PackedAdder =
    ArrayProperty<Mek2::ArrayProperty<PackedData>, Column<unsigned int>, std::vector<StepData>>;

extern template class ArrayProperty<Mek2::ArrayProperty<ColumnData<float>>, Column<unsigned int>,
                                    std::vector<StepData>>;
extern template class ArrayProperty<Mek2::ArrayProperty<ColumnData<unsigned int>>,
                                    Column<unsigned int>, std::vector<StepData>>;
extern template class ArrayProperty<Mek2::ArrayProperty<TableData<float>>, Column<unsigned int>,
                                    std::vector<StepData>>;
extern template class ArrayProperty<Mek2::ArrayProperty<TableData<unsigned int>>,
                                    Column<unsigned int>, std::vector<StepData>>;
extern template class ArrayProperty<Mek2::ArrayProperty<PackedData>, Column<unsigned int>,
                                    std::vector<StepData>>;

} // namespace Tyr::Mek2::Adder
