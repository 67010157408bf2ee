/// The bytes of a journal. docs/journal.md explains the same example.
#include <tyr/mek2/model.hpp>

#include "support/journalrecords.hpp"
#include "support/testing.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using namespace Tyr::Mek2;
using Testing::hex;

using JournalTest = Testing::FolderTest;

TEST_F(JournalTest, HasTheBytesOfTheDocumentation) {
    SaverOptions options;
    options.journal = true;
    Model model;
    model.saveTo(path("a.mek"), options);
    Attributes attributes;
    attributes.set("k", 5U);
    model.addNode(NodeType::RootGroup, "R", attributes);
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    model.addArrayProperty("T", DatasetType::ResultA1, Array1d<float>{1, 2}, id, Step{"1"});
    model.checkpoint();

    const std::string file = Testing::readFile(path("a.mek"));
    const std::string block = file.substr(2800);
    const std::string journal = Testing::readFile(path("a.mek.journal"));
    const std::string identity = journal.substr(12, 16);
    EXPECT_EQ(hex(journal.substr(0, 12)), "89 4D 45 4A 0D 0A 1A 0A 01 00 00 00");
    EXPECT_EQ(hex(journal.substr(28)),
              // start
              "19 00 00 00 01 05 00 00 00 61 2E 6D 65 6B 00 00 00 00 00 00 00 00 00 06 00 00 00 00 "
              "00 00 9D A6 0B C8 "
              // addNode
              "1F 00 00 00 03 01 00 00 00 02 00 00 00 02 00 00 00 01 00 00 00 52 01 00 00 00 01 00 "
              "00 00 6B 00 05 00 00 00 D3 17 4C 86 "
              "15 00 00 00 03 01 00 00 00 04 00 00 00 04 00 00 00 01 00 00 00 53 00 00 00 00 DC 17 "
              "EC B5 "
              // addArrayProperty
              "47 00 00 00 07 03 00 00 00 04 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 00 00 00 "
              "00 01 00 00 00 54 0A 00 00 00 01 00 00 00 02 00 00 00 00 00 00 00 01 01 00 00 00 03 "
              "00 00 00 01 00 00 00 01 00 00 00 31 00 00 00 00 00 00 00 00 1E E9 ED 48 " +
                  // block
                  hex(Testing::makeRecord(
                      '\2', std::string("\x0A\0\0\0Heavy Data", 14) + std::string(8, '\0') +
                                "\xF0\x0A" + std::string(6, '\0') +
                                Testing::bytesOf(static_cast<std::uint32_t>(block.size())) +
                                std::string("\x08\0\0\0\x21", 5) + Testing::checksumOf(block))));
    EXPECT_EQ(hex(file.substr(0, 16)), "89 51 42 46 0D 0A 1A 0A 31 2E 33 00 00 00 00 00");
    EXPECT_EQ(hex(file.substr(2784, 16)), hex(identity));
    EXPECT_NE(identity, std::string(16, '\0'));
}

} // namespace
