#include "support/testing.hpp"
#include "tyr/mek2/helper/attributes.hpp"
#include "tyr/mek2/valuestorage.hpp"
#include "tyr/variant/visitor/valuegetter.hpp"

#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;

template <class Array>
std::vector<float> elements(const Array& array) {
    const auto& storage = ValueAccess::of(array);
    return std::vector<float>(storage.data(), storage.data() + storage.size());
}

using Floats = std::vector<float>;

TEST(Arrays, HoldWhatTheyAreMadeFrom) {
    Floats source = {1, 2, 3, 4, 5};
    float* const first = source.data();
    EXPECT_EQ(elements(Array1d<float>()), Floats());
    EXPECT_EQ(elements(Array1d<float>(2)), (Floats{0, 0}));
    EXPECT_EQ(elements(Array1d<float>(2, 7.0F)), (Floats{7, 7}));
    EXPECT_EQ(elements(Array1d<float>(first, first + 2)), (Floats{1, 2}));
    EXPECT_EQ(elements(Array1d<float>(source)), source);
    EXPECT_EQ(elements(Array1d<float>({1, 2})), (Floats{1, 2}));
    EXPECT_EQ(elements(Array2d<float>(2, 2)), (Floats{0, 0, 0, 0}));
    EXPECT_EQ(elements(Array2d<float>(2, 1, 7.0F)), (Floats{7, 7}));
    EXPECT_EQ(elements(Array2d<float>(2, 2, source)), (Floats{1, 2, 3, 4}));
    EXPECT_EQ(elements(Array2d<float>(2, 2, first, first + 3)), (Floats{1, 2, 3, 0}));
    EXPECT_EQ(elements(Array2d<float>(3, 0, {1, 2})), Floats());
    EXPECT_THROW(Array2d<float>(std::size_t{1} << 40, std::size_t{1} << 40), std::bad_alloc);
    EXPECT_THROW(Array1d<float>(static_cast<std::size_t>(-1)), std::bad_alloc);
}

TEST(Arrays, GiveElementsInRowMajorOrder) {
    Array2d<float> table(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(table(1, 0), 4.0F);
    EXPECT_EQ(table.size(), 6U);
    table(1, 2) = 9;
    const Floats replacement = {9, 8, 7, 6, 5, 4};
    Array2d<float> copy = table;
    copy.copy_from(replacement.data());
    EXPECT_EQ(elements(copy), replacement);
    EXPECT_EQ(elements(table), (Floats{1, 2, 3, 4, 5, 9}));

    Array1d<float> column({1, 2});
    column = Array1d<float>({1, 2, 3, 4, 5});
    EXPECT_EQ(column.size(), 5U);
    column[4] = column(0);
    EXPECT_EQ(elements(column), (Floats{1, 2, 3, 4, 1}));
    Array1d<float>().copy_from(nullptr);
}

TEST(Attributes, KeepOneValuePerKeyAndCopyDeeply) {
    Attributes attributes;
    attributes.set("k", 1.0F);
    Attributes copy = attributes;
    copy.set("k", "text");
    copy.set("l", std::vector<int>{1});

    const AttributeMap& original = ValueAccess::of(attributes);
    ASSERT_EQ(original.size(), 1U);
    EXPECT_EQ(std::get<float>(original.at("k")), 1.0F);
    EXPECT_EQ(std::get<std::string>(ValueAccess::of(copy).at("k")), "text");
    attributes = copy;
    EXPECT_EQ(ValueAccess::of(attributes).at("l").index(), 3U);
}

TEST(NodeProperties, KeepBooleansAsNumbers) {
    NodeProperties properties;
    properties.set(PropertyType::MaterialFlag, true);
    NodeProperties copy = properties;
    copy.set(PropertyType::MaterialFlag, "text");
    EXPECT_EQ(ValueAccess::of(properties).at(PropertyType::MaterialFlag), NodePropertyVariant(1));
    EXPECT_EQ(ValueAccess::of(copy).at(PropertyType::MaterialFlag).index(), 2U);
}

TEST(StepList, GivesCopiesOfItsSteps) {
    Step step{"s"};
    step.attributes.set("k", 1U);
    StepList steps(2);
    steps.set(1, step);
    StepList copy = steps;
    copy.set(0, step);
    steps[1].name = "changed";
    EXPECT_EQ(steps[0].name, "");
    EXPECT_EQ(steps[1].name, "s");
    EXPECT_EQ(copy[0].name, "s");
    EXPECT_EQ(ValueAccess::of(steps[1].attributes).size(), 1U);
}

/// Code of an inner value, or -1 if the conversion refuses it.
int convertedType(const AttributeVariant& value) {
    try {
        return std::visit(Helper::Attributes::AttributeValueGetter(), value).type;
    } catch (const Tyr::Exception::InvalidArguments& failure) {
        EXPECT_STREQ(failure.what(), "Invalid arguments");
        return -1;
    }
}

template <std::size_t... Index>
std::vector<int> convertedTypes(std::index_sequence<Index...>) {
    return {convertedType(AttributeVariant(std::in_place_index<Index>))...};
}

TEST(AttributeConversion, TakesSixOfTheTwentySixKinds) {
    EXPECT_EQ(convertedTypes(std::make_index_sequence<std::variant_size_v<AttributeVariant>>()),
              (std::vector<int>{1,  -1, 0,  -1, 0,  -1, 2,  -1, -1, -1, 3,  -1, -1,
                                -1, 0,  -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}));

    const AttributeMap map = {{"", 2.5}, {"i", -1}, {"s", std::int64_t{0x1FFFFFFFE}}};
    const auto list = Helper::Attributes::toAttributeList(map);
    EXPECT_EQ(list.values.at("").value.doubleValue, 2.5);
    EXPECT_EQ(list.values.at("i").value.uintValue, 4294967295U);
    EXPECT_EQ(list.values.at("s").value.uintValue, 4294967294U);
}

template <class T>
std::vector<bool> acceptedBy() {
    std::vector<bool> accepted;
    for (const NodePropertyVariant& value :
         {NodePropertyVariant(2), NodePropertyVariant(1.0F), NodePropertyVariant(std::string()),
          NodePropertyVariant(std::vector<int>()), NodePropertyVariant(Floats{1})}) {
        try {
            std::visit(Tyr::Variant::Visitor::ValueGetter<T>(), value);
            accepted.push_back(true);
        } catch (const Tyr::Exception::TemplateSpecializationNotDefined&) {
            accepted.push_back(false);
        }
    }
    return accepted;
}

TEST(PropertyConversion, TakesOneKindPerTarget) {
    EXPECT_EQ(acceptedBy<Floats>(), (std::vector<bool>{false, false, false, false, true}));
    EXPECT_EQ(acceptedBy<float>(), (std::vector<bool>{false, true, false, false, false}));
    EXPECT_EQ(acceptedBy<bool>(), (std::vector<bool>{true, false, false, false, false}));
    EXPECT_TRUE(std::visit(Tyr::Variant::Visitor::ValueGetter<bool>(), NodePropertyVariant(2)));
}

} // namespace
