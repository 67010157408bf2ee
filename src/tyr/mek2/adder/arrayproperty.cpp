#include "tyr/mek2/adder/arrayproperty.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek2/adder/attachment.hpp"
#include "tyr/mek2/helper/attributes.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace Tyr::Mek2::Adder {

namespace {

constexpr std::int64_t largestCount = std::numeric_limits<std::int32_t>::max();

template <class T>
bool hasWidth(const Column<T>&, unsigned char width) {
    return width == 1;
}

template <class T>
bool hasWidth(const Table<T>& table, unsigned char width) {
    return table.cols() == Eigen::Index{width};
}

bool hasWidth(const PackedRows& packed, unsigned char width) { return packed.width() == width; }

const unsigned char* bytesOf(const PackedRows&) { return nullptr; } // compressed

template <class Array>
const unsigned char* bytesOf(const Array& array) {
    return reinterpret_cast<const unsigned char*>(array.data());
}

template <class Property>
TyrMek::NumericArray describe(const Property& property, std::int64_t rows) {
    TyrMek::NumericArray array;
    array.data = bytesOf(property.array);
    array.byteSize = static_cast<std::uint64_t>(rows) * property.width * sizeof(float);
    array.width = property.width;
    array.elementType = elementTypeOf(property);
    return array;
}

} // namespace

template <class Property, class Ids, class Steps>
void ArrayProperty<Property, Ids, Steps>::update(Database& database) {
    database.assertOpenedForWriting();
    database.assertNotEmpty();
    const std::int64_t count = ids.size();
    const std::int64_t rows = property.array.rows();
    if (count == 0 || rows == 0) {
        return;
    }
    if (count < 0 || rows < 0) {
        TYR_RAISE(Exception::UnderflowError());
    }
    if (count > largestCount || rows > largestCount) {
        TYR_RAISE(Exception::OverflowError());
    }
    if (!hasWidth(property.array, property.width)) {
        TYR_RAISE(Exception::InvalidArguments());
    }

    TyrMek::Tree& tree = *database.tree;
    const TyrMek::NumericArray array = describe(property, rows);
    const std::uint64_t offset =
        tree.WriteStreamDataset(property.array.data(), static_cast<int>(rows), property.width);
    datasetOffset = offset;
    Attachment attachment{property.name,
                          Property::geomTypeFrom(property.type),
                          offset,
                          array,
                          Helper::Attributes::toAttributeList(property.attributes),
                          database.relinkReplaced};
    for (const unsigned int id : ids) {
        std::size_t coming = steps.size();
        for (const StepData& step : steps) {
            attachment.attach(tree, id, step, coming--);
            ++attached;
        }
    }
}

template class ArrayProperty<Mek2::ArrayProperty<ColumnData<float>>, Column<unsigned int>,
                             std::vector<StepData>>;
template class ArrayProperty<Mek2::ArrayProperty<ColumnData<unsigned int>>, Column<unsigned int>,
                             std::vector<StepData>>;
template class ArrayProperty<Mek2::ArrayProperty<TableData<float>>, Column<unsigned int>,
                             std::vector<StepData>>;
template class ArrayProperty<Mek2::ArrayProperty<TableData<unsigned int>>, Column<unsigned int>,
                             std::vector<StepData>>;
template class ArrayProperty<Mek2::ArrayProperty<PackedData>, Column<unsigned int>,
                             std::vector<StepData>>;

} // namespace Tyr::Mek2::Adder
