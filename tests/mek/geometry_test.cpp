#include "tyr/mek/geometry.hpp"

#include "support/streams.hpp"
#include "support/testing.hpp"
#include "tyr/mek/group.hpp"

#include <string>

namespace {

using Testing::hex;
using Testing::repeatedHex;
using TyrMek::Geometry;
using TyrUtil::AttributeList;
using TyrUtil::AttributeValue;

constexpr auto coordinates = static_cast<Geometry::VariableType>(1);

TyrMek::NumericArray floats(std::uint64_t rows, std::uint8_t width) {
    TyrMek::NumericArray array;
    array.byteSize = 4 * rows * width;
    array.width = width;
    array.elementType = 1;
    return array;
}

/// "Light Data" and "Attributes" of a geometry, in hexadecimal.
std::pair<std::string, std::string> written(Geometry& geometry) {
    TyrQbf::QbFile file;
    geometry.WriteQb(file, "Light Data", "Heavy Data", "Attributes");
    EXPECT_EQ(file.index.GetDataLength("Heavy Data"), 0U);
    auto streams = Testing::streamsOf(file.index, {"Light Data", "Attributes"});
    return {hex(streams["Light Data"]), hex(streams["Attributes"])};
}

TEST(Geometry, WritesOwnersAndLinks) {
    Geometry geometry("g");
    geometry.AddVariable("C", coordinates, 0x0102030405, floats(2, 3), {});
    geometry.AddVariable("L", coordinates, 7, floats(2, 3), {});
    geometry.variables[1].linked = true;
    geometry.variables[1].linkedNodeId = 9;
    geometry.variables[1].linkedVariableIndex = 8;

    const auto [light, attributes] = written(geometry);
    EXPECT_EQ(light, "02 00 00 00 "
                     "01 00 00 00 43 01 00 00 01 00 18 00 00 00 03 00 00 00 00 00 00 "
                     "00 00 00 00 00 05 04 03 02 01 00 00 00 00 "
                     "01 00 00 00 4C 01 00 00 01 01 09 00 00 00 08 00 00 00 00");
    EXPECT_EQ(attributes, repeatedHex("00", 48));

    Geometry empty("g");
    EXPECT_EQ(written(empty).first, "00 00 00 00");
}

TEST(Geometry, SettingAVariableAgainMergesIntoIt) {
    Geometry geometry("g");
    AttributeList first;
    first.values["a"] = AttributeValue::of(1U);
    first.values["b"] = AttributeValue::of(2U);
    AttributeList second;
    second.values["b"] = AttributeValue::of(3U);
    EXPECT_EQ(geometry.AddVariable("v", coordinates, 0, floats(1, 1), first), 0U);
    EXPECT_EQ(geometry.AddVariable("w", coordinates, 4, floats(1, 1), {}), 1U);
    EXPECT_EQ(geometry.AddVariable("v", coordinates, 8, floats(2, 1), second), 0U);

    ASSERT_EQ(geometry.variables.size(), 2U);
    EXPECT_EQ(geometry.offsets.at("v"), 8U);
    EXPECT_EQ(geometry.variables[0].array.GetValueCount(), 2U);
    EXPECT_EQ(geometry.variables[0].attributes.values.at("a").value.uintValue, 1U);
    EXPECT_EQ(geometry.variables[0].attributes.values.at("b").value.uintValue, 3U);
}

TEST(Geometry, LeavesOutSomeKeysAndKnowsVibrations) {
    AttributeList attributes;
    for (const char* key : {"Complex", "Contents", "DataSource", "DataType", "Structure", "Link.",
                            "Link.x", "Link", "Category", "complex"}) {
        attributes.values[key] = AttributeValue::of(std::string("Vibration"));
    }
    Geometry geometry("g");
    geometry.AddVariable("v", coordinates, 0, floats(1, 1), attributes);

    EXPECT_TRUE(geometry.variables[0].vibration);
    std::string kept;
    for (const auto& [key, value] : geometry.variables[0].attributes.values) {
        kept += key + ' ';
    }
    EXPECT_EQ(kept, "Category Link complex ");

    for (const AttributeValue& other :
         {AttributeValue::of(std::string("vibration")), AttributeValue::of(1U)}) {
        attributes.values["Category"] = other;
        geometry.AddVariable("v", coordinates, 0, floats(1, 1), attributes);
        EXPECT_FALSE(geometry.variables[0].vibration);
        EXPECT_EQ(geometry.variables[0].attributes.values.count("Category"), 1U);
    }
}

TEST(Group, WritesItsDefaultPlacement) {
    TyrMek::Group group("g", {});
    TyrQbf::QbFile file;
    group.WriteQb(file, "Light Data", "Attributes");
    auto streams = Testing::streamsOf(file.index, {"Light Data", "Attributes"});

    EXPECT_EQ(hex(streams["Light Data"]),
              repeatedHex("00", 12) + " 00 00 00 00 00 00 00 00 00 00 80 3F 00 00 00 00 " +
                  repeatedHex("00 00 80 3F", 3) + " 00");
    EXPECT_EQ(hex(streams["Attributes"]), repeatedHex("00", 24));
}

} // namespace
