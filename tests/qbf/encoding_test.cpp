#include "tyr/qbf/encoding.hpp"

#include "support/streams.hpp"
#include "support/testing.hpp"
#include "tyr/mek/attributelist.hpp"
#include "tyr/mek/globalinfo.hpp"
#include "tyr/mek/material.hpp"

#include <string>
#include <vector>

namespace {

using namespace TyrQbf;
using Testing::hex;
using Testing::repeatedHex;

/// The bytes of one encoded value.
template <class T>
std::string encoded(const T& value) {
    Block block;
    Encode(block, value);
    const std::string bytes(reinterpret_cast<const char*>(block.data), block.length);
    block.Release();
    return hex(bytes);
}

TEST(Encoding, LaysOutNumbersTextsAndVectors) {
    EXPECT_EQ(encoded<unsigned char>(255), "FF");
    EXPECT_EQ(encoded(0x04030201U), "01 02 03 04");
    EXPECT_EQ(encoded<std::uint64_t>(1), "01 00 00 00 00 00 00 00");
    EXPECT_EQ(encoded(1.0F), "00 00 80 3F");
    EXPECT_EQ(encoded(std::string("abc")), "03 00 00 00 61 62 63");
    EXPECT_EQ(encoded(std::string()), "00 00 00 00");
    EXPECT_EQ(encoded(std::vector<std::string>{"ab", ""}), "02 00 00 00 02 00 00 00 61 62 00 00 00 00");
    EXPECT_EQ(encoded(std::vector<unsigned char>{1, 2}), "02 00 00 00 01 02");
    EXPECT_EQ(encoded(std::vector<double>{2}), "01 00 00 00 00 00 00 00 00 00 00 40");
}

TEST(Encoding, SizedRecordsTellTheirSize) {
    EXPECT_EQ(encoded(std::vector<TyrMek::ModifierInfo>(1)),
              "01 00 00 00 27 00 00 00 03 00 00 00 30 2E 31 " + repeatedHex("00", 28));
    EXPECT_EQ(encoded(std::vector<TyrMek::ResultAttributes>()), "00 00 00 00");

    TyrMek::Material material;
    material.SetDiffuseColor({0.25F, 0.5F, 1, 0});
    material.transparency = 0.5F;
    EXPECT_EQ(encoded(material),
              "54 00 00 00 03 00 00 00 30 2E 33 "
              "00 00 80 3E 00 00 00 3F 00 00 80 3F 00 00 80 3F "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 80 3F "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 80 3F "
              "0B D7 23 3E 0B D7 23 3E 0B D7 23 3E CD CC 4C 3E "
              "00 00 00 3F CD CC 4C 3E 01");
}

TEST(Encoding, AttributeListsAreSplitByKind) {
    using TyrUtil::AttributeValue;
    TyrUtil::AttributeList list;
    list.values["d"] = AttributeValue::of(2.0);
    list.values["c"] = AttributeValue::of(std::string("x\0y", 3)); // ends at its first NUL
    list.values["b"] = AttributeValue::of(1.0F);
    list.values["a"] = AttributeValue::of(5U);

    Index index;
    index.Put("Attributes", list);
    EXPECT_EQ(hex(Testing::streamsOf(index, {"Attributes"})["Attributes"]),
              "04 00 00 00 01 00 00 00 61 01 00 00 00 62 01 00 00 00 63 01 00 00 00 64 "
              "04 00 00 00 00 01 02 03 01 00 00 00 05 00 00 00 01 00 00 00 00 00 80 3F "
              "01 00 00 00 00 00 00 00 00 00 00 40 01 00 00 00 01 00 00 00 78");
}

} // namespace
