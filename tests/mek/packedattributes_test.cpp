#include "tyr/mek/packedattributes.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>

namespace {

using TyrUtil::AttributeValue;
using TyrUtil::PackedAttributes;

AttributeValue randomValue(std::mt19937& random) {
    const AttributeValue values[] = {AttributeValue::Of(static_cast<std::uint32_t>(random())),
                                     AttributeValue::Of(static_cast<float>(random())),
                                     AttributeValue::Of(static_cast<double>(random()) / 3),
                                     AttributeValue::Of(std::string(random() % 300, 't'))};
    return values[random() % 4];
}

auto contentOf(const AttributeValue& value) {
    const bool isText = value.type == TyrUtil::StringValue;
    const bool isDouble = value.type == TyrUtil::DoubleValue;
    return std::tuple(value.type, isText ? value.ToString() : "",
                      isDouble ? value.value.doubleValue : 0,
                      isText || isDouble ? 0 : value.value.uintValue);
}

TEST(PackedAttributes, BehaveLikeAnOrderedMap) {
    std::mt19937 random(7);
    PackedAttributes packed;
    std::map<std::string, AttributeValue> expected;
    for (int i = 0; i < 3000; ++i) {
        const std::string key(random() % 4, static_cast<char>(random() % 256));
        const AttributeValue value = randomValue(random);
        if (i % 3 == 0) {
            PackedAttributes other;
            other.Set(key, value);
            packed.Add(*other.begin());
            expected.emplace(key, value);
        } else {
            packed.Set(key, value);
            expected.insert_or_assign(key, value);
        }
        if (i % 500 == 499) {
            PackedAttributes moved = std::move(packed);
            packed = moved;
            moved = {};
            EXPECT_TRUE(moved.IsEmpty());
            EXPECT_FALSE(moved.Find(key));
        }
        ASSERT_EQ(contentOf(*packed.Find(key)), contentOf(expected.at(key)));
    }
    auto entry = packed.begin();
    for (const auto& [key, value] : expected) {
        ASSERT_NE(entry, packed.end());
        EXPECT_EQ((*entry).key, key);
        EXPECT_EQ(contentOf((*entry).Value()), contentOf(value));
        ++entry;
    }
    EXPECT_EQ(entry, packed.end());
}

} // namespace
