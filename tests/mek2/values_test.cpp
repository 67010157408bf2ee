#include "support/testing.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Tyr::Mek2;

template <class Array>
std::vector<float> elements(const Array& array) {
    EXPECT_EQ(array.data(), ValueAccess::of(array).data());
    return std::vector<float>(array.begin(), array.end());
}

using Floats = std::vector<float>;

TEST(Arrays, AreConstructedFromValues) {
    Floats source = {1, 2, 3, 4, 5};
    float* const first = source.data();
    EXPECT_EQ(elements(Array1d<float>(2, 7.0F)), (Floats{7, 7}));
    EXPECT_EQ(elements(Array1d<float>(first, first + 2)), (Floats{1, 2}));
    EXPECT_EQ(elements(Array1d<float>(source)), source);
    EXPECT_EQ(elements(Array1d<float>(source.data(), 3)), (Floats{1, 2, 3}));
    EXPECT_EQ(elements(Array1d<float>(0, 0)), Floats());
    EXPECT_EQ(elements(Array2d<float>(2, 1, 7)), (Floats{7, 7}));
    EXPECT_EQ(elements(Array2d<float>(2, 2, source)), (Floats{1, 2, 3, 4}));
    EXPECT_EQ(elements(Array2d<float>(2, 2, first, first + 3)), (Floats{1, 2, 3, 0}));
    EXPECT_EQ(elements(Array2d<float>(3, 0, {1, 2})), Floats());
    EXPECT_THROW(Array2d<float>(std::size_t{1} << 40, std::size_t{1} << 40), std::bad_alloc);
    EXPECT_THROW(Array1d<float>(static_cast<std::size_t>(-1)), std::bad_alloc);
    EXPECT_EQ(Array2d<float>(source.data(), 2, 2)(1, 0), 3.0F);
}

TEST(Values, CopiesAreDeepAndMovesLeaveEmptyValues) {
    Array1d<float> column({1});
    const Array1d<float> copy = column;
    column = Array1d<float>({1, 2, 3, 4, 5});
    column[0] = 9;
    EXPECT_EQ(elements(column), (Floats{9, 2, 3, 4, 5}));
    EXPECT_EQ(elements(copy), (Floats{1}));
    Array1d<float> taken(std::move(column));
    EXPECT_EQ(elements(column), Floats()); // NOLINT(bugprone-use-after-move): it is empty
    column = taken;
    EXPECT_EQ(elements(column), (Floats{9, 2, 3, 4, 5}));
    Attributes attributes;
    attributes.set("k", 1.0F);
    Attributes others = attributes;
    char text[] = "text";
    others.set("k", text);
    EXPECT_EQ(std::get<float>(ValueAccess::of(attributes).at("k")), 1.0F);
    attributes = std::move(others);
    others.set("k", 2.0F); // NOLINT(bugprone-use-after-move): it is empty
    EXPECT_EQ(std::get<std::string>(ValueAccess::of(attributes).at("k")), "text");
}

} // namespace
