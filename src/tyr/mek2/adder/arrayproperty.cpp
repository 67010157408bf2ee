#include "tyr/mek2/adder/arrayproperty.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek2/helper/attributes.hpp"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace Tyr::Mek2::Adder {

namespace {

/// Separates the name of a result from the name of a step.
constexpr char stepSeparator = '\x1E';

constexpr std::int64_t largestCount = std::numeric_limits<std::int32_t>::max();

template <class T>
bool hasWidth(const Column<T>&, unsigned char width) {
    return width == 1;
}

template <class T>
bool hasWidth(const Table<T>& table, unsigned char width) {
    return table.cols() == Eigen::Index{width};
}

template <class Property>
TyrMek::NumericArray describe(const Property& property, std::int64_t rows) {
    TyrMek::NumericArray array;
    array.data = reinterpret_cast<const unsigned char*>(property.array.data());
    array.byteSize = static_cast<std::uint64_t>(rows) * property.width * sizeof(float);
    array.width = property.width;
    array.elementType = Property::Traits::elementType;
    return array;
}

/// A variable: the id of its geometry, and its index there.
struct VariablePlace {
    unsigned int nodeId;
    unsigned int index;

    bool operator==(const VariablePlace& other) const {
        return nodeId == other.nodeId && index == other.index;
    }
};

/// The values that all variables of one call share.
struct Attachment {
    const std::string& name;
    TyrMek::Geometry::VariableType type{};
    std::uint64_t offset = 0;
    TyrMek::NumericArray array;
    TyrUtil::AttributeList attributes;
    bool relinkReplaced = false; ///< true: a first variable that is a link becomes the owner
    std::optional<VariablePlace> owner{};
};

/// Attributes of the call replace those of the step with the same key.
TyrUtil::AttributeList withStepAttributes(const TyrUtil::AttributeList& attributes,
                                          const StepData& step) {
    const TyrUtil::AttributeList added = Helper::Attributes::toAttributeList(step.attributes);
    TyrUtil::AttributeList merged = attributes;
    merged.values.insert(added.values.begin(), added.values.end());
    return merged;
}

/// The first variable of a call owns the dataset, unless it is a link of an earlier call. The
/// others become links to it.
/// @param coming number of variables that the node still gets, this one included
void attach(TyrMek::Tree& tree, Attachment& attachment, unsigned int id, const StepData& step,
            std::size_t coming) {
    const std::string variableName =
        step.name.empty() ? attachment.name : attachment.name + stepSeparator + step.name;
    const TyrUtil::AttributeList attributes = withStepAttributes(attachment.attributes, step);
    tree.currentId = id;
    auto* const geometry =
        dynamic_cast<TyrMek::Geometry*>(std::as_const(tree).GetCurrentNode().value);
    if (geometry == nullptr) {
        return;
    }
    geometry->MakeRoomForVariables(coming);
    const unsigned int index = geometry->AddVariable(
        variableName, attachment.type, attachment.offset, attachment.array, attributes);
    const VariablePlace place{id, index};
    if (!attachment.owner) {
        attachment.owner = place;
        if (attachment.relinkReplaced) {
            geometry->MakeOwner(index);
        }
    } else if (!(place == *attachment.owner)) {
        geometry->MakeLink(index, attachment.owner->nodeId, attachment.owner->index);
    }
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
    Attachment attachment{property.name,
                          Property::geomTypeFrom(property.type),
                          offset,
                          array,
                          Helper::Attributes::toAttributeList(property.attributes),
                          database.relinkReplaced};
    for (const unsigned int id : ids) {
        std::size_t coming = steps.size();
        for (const StepData& step : steps) {
            attach(tree, attachment, id, step, coming--);
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

} // namespace Tyr::Mek2::Adder
