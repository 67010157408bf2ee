#include "tyr/qbf/qbfile.hpp"

#include "mekreader/container.hpp"
#include "support/testing.hpp"

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

namespace {

using namespace TyrQbf;
using Testing::BlockSizeVariable;
using Testing::hex;
using Testing::messageOf;
using Testing::readFile;

constexpr std::size_t firstEntry = 20;
constexpr std::size_t entrySize = 139;

/// A container with signature and version, and its bytes once it is finished.
class IndexTest : public Testing::FolderTest {
protected:
    IndexTest() {
        file.OpenFileForWriting(path("out"), false);
        file.WriteHead();
    }

    void put(const std::string& name, const std::string& bytes) {
        file.index.Put(name, bytes.data(), bytes.size());
    }

    std::string finish() {
        file.index.WriteAllBuffersToFileStream(file.stream);
        file.CloseFile();
        return readFile(path("out"));
    }

    QbFile file;
};

TEST_F(IndexTest, WritesTwoStreamsByteForByte) {
    TYR_NEEDS_BYTES_OF_ZLIB();
    file.index.Put("Light Data", std::string("abc"));
    file.index.Put("Heavy Data", 7U);
    file.SetBlockFlags("Light Data", FlagCompress);
    const std::string bytes = finish();

    ASSERT_EQ(bytes.size(), 2823U);
    EXPECT_EQ(hex(bytes.substr(0, 31)),
              "89 51 42 46 0D 0A 1A 0A 31 2E 33 00 E0 0A 00 00 14 00 00 00 01 80 00 00 00 "
              "4C 69 67 68 74 20");
    EXPECT_EQ(bytes.substr(25, 128), "Light Data" + std::string(118, '\0'));
    EXPECT_EQ(hex(bytes.substr(153, 11)), "13 00 00 00 01 00 02 80 00 00 00");
    EXPECT_EQ(bytes.substr(164, 128), "Heavy Data" + std::string(118, '\0'));
    EXPECT_EQ(hex(bytes.substr(292, 6)), "04 00 00 00 00 00");
    for (std::size_t id = 3; id <= 20; ++id) {
        const std::string entry = bytes.substr(298 + 139 * (id - 3), entrySize);
        EXPECT_EQ(static_cast<std::size_t>(entry[0]), id);
        EXPECT_EQ(hex(entry.substr(1)), "80 00 00 00 0B 45 6D 70 74 79 20 42 6C 6F 63 6B 20 " +
                                            hex(std::string(121, '\0')));
    }
    EXPECT_EQ(hex(bytes.substr(2800)),
              "07 00 00 00 78 9C 63 66 60 60 48 4C 4A 06 00 02 66 01 2A 07 00 00 00");
}

TEST_F(IndexTest, ChainsTablesPastNineteenBlocks) {
    for (char name = 'a'; name < 'a' + 25; ++name) {
        put(std::string(1, name), std::string(1, name));
    }
    const std::string bytes = finish();

    ASSERT_EQ(bytes.size(), 30629U);
    EXPECT_EQ(bytes.substr(2800, 19), "abcdefghijklmnopqrs");
    EXPECT_EQ(bytes.substr(30623), "tuvwxy");
    EXPECT_EQ(hex(bytes.substr(firstEntry + 19 * entrySize, entrySize)),
              "14 80 00 00 00 0B 49 6E 64 65 78 20 42 6C 6F 63 6B 20 " +
                  hex(std::string(115, '\0')) + " 9C 6C 00 00 20 00");
    EXPECT_EQ(hex(bytes.substr(2819, 10)), "C8 00 00 00 15 80 00 00 00 74");
    const std::string lastEntry = bytes.substr(2819 + 4 + 199 * entrySize, entrySize);
    EXPECT_EQ(hex(lastEntry.substr(0, 18)),
              "DC 80 00 00 00 0B 45 6D 70 74 79 20 42 6C 6F 63 6B 20");
    EXPECT_EQ(hex(lastEntry.substr(133)), "00 00 00 00 00 00");
}

TEST_F(IndexTest, PutsARecordAsItsValuesOneAfterTheOther) {
    const std::pair<const char*, const char*> lengthsByLimit[] = {{"0", "04 01 07"},
                                                                  {"5", "05 07 05"},
                                                                  {"12", "0C 0C 00"},
                                                                  {"13", "10 08 00"},
                                                                  {"24", "18 00 00"}};
    for (const auto& [limit, lengths] : lengthsByLimit) {
        const BlockSizeVariable variable(limit);
        QbFile records;
        records.OpenFileForWriting(path(limit), false);
        records.index.PutEach("Light Data", 1U, true, std::string("abc"));
        records.index.PutEach("Light Data", 1U, true, std::string("abc"));
        records.index.WriteAllBuffersToFileStream(records.stream);
        records.CloseFile();
        const std::string bytes = readFile(path(limit));
        EXPECT_EQ(hex(std::string{bytes[153], bytes[153 + entrySize], bytes[153 + 2 * entrySize]}),
                  lengths)
            << limit;
    }
}

TEST_F(IndexTest, FlushesFullBlocksEarlyAndKeepsTheirLength) {
    const BlockSizeVariable limit("10");
    file.SetBlockFlags("Heavy Data", FlagFreeze); // reaches no block
    put("Heavy Data", std::string(9, 'a'));
    put("Heavy Data", "a");
    file.index.FlushFrozen(file.stream);
    std::fflush(file.stream);
    EXPECT_EQ(readFile(path("out")).size(), 12U);

    file.SetBlockFlags("Heavy Data", FlagFreeze | FlagCompress);
    file.index.FlushFrozen(file.stream);
    std::fflush(file.stream);
    const std::string stored = readFile(path("out")).substr(2800);
    put("Heavy Data", "b");
    EXPECT_EQ(file.index.GetDataLength("Heavy Data"), 11U);
    const std::string bytes = finish();
    EXPECT_EQ(bytes.substr(153, 6), static_cast<char>(stored.size()) + std::string("\0\0\0!\0", 5));
    EXPECT_EQ(bytes.substr(2800), stored + 'b');
}

TEST_F(IndexTest, RejectsAFlushAboveAnUnsettledBlock) {
    const BlockSizeVariable limit("1");
    put("Light Data", "l");
    put("Heavy Data", "h");
    file.SetBlockFlags("Heavy Data", FlagFreeze);
    EXPECT_THROW(file.index.FlushFrozen(file.stream), Tyr::Exception::NotYetImplemented);
}

TEST_F(IndexTest, KeepsPiecesAndBytesInSeparateBlocks) {
    const auto piece = [](const std::string& content) {
        auto compressed = std::make_shared<DeflatePiece>();
        CompressPiece(reinterpret_cast<const unsigned char*>(content.data()), content.size(), 6,
                      PieceEnd::Flush, 0, *compressed);
        return compressed;
    };
    put("Heavy Data", "a");
    for (const char* content : {"bbb", "", "cd"}) {
        file.index.PutPiece("Heavy Data", piece(content));
    }
    put("Heavy Data", "e");
    EXPECT_EQ(file.index.GetDataLength("Heavy Data"), 7U);
    file.SetBlockFlags("Heavy Data", FlagFreeze);
    file.index.FlushFrozen(file.stream); // the first two take no more data
    put("Heavy Data", "f");
    file.index.PutPiece("Heavy Data", piece("g"));
    EXPECT_EQ(file.index.GetDataLength("Heavy Data"), 9U);
    finish();
    MekReader::Container container(path("out"));
    EXPECT_EQ(container.stream("Heavy Data"), "abbbcdefg");
    const std::uint64_t lengths[] = {1, 5, 2, 1};
    for (std::size_t number = 0; number < 4; ++number) {
        EXPECT_EQ(container.blocks()[number].rawLength, lengths[number]);
    }

    DeflatePiece large;
    large.contentLength = 0x100000000;
    EXPECT_THROW(file.index.PutPiece("Heavy Data", std::make_shared<DeflatePiece>(large)),
                 Tyr::Exception::OverflowError);
}

TEST_F(IndexTest, RejectsMoreThanABlockCanHold) {
    EXPECT_THROW(file.index.Put("Heavy Data", nullptr, 0x100000000), Tyr::Exception::OverflowError);
    EXPECT_EQ(file.index.GetDataLength("Heavy Data"), 0U);
}

using QbFileTest = Testing::FolderTest;

TEST_F(QbFileTest, NamesThePathThatCannotBeOpened) {
    const std::wstring wideMissing = L"/\x0416issing/\x00E9";
    QbFile file;
    EXPECT_EQ(messageOf<Tyr::Exception::MiscelleneousException>(
                  [&] { file.OpenFileForWriting(wideMissing, false); }),
              "Unable to open file \"/\x16issing/\xE9\"");
    EXPECT_THROW(file.OpenFileForWriting(path("cut") + '\0' + "off", true),
                 Tyr::Exception::MiscelleneousException);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(QbFileTest, WidePathsReachBeyondTheCodePage) {
    QbFile file; // Greek, Japanese and an emoji
    file.OpenFileForWriting(folder.wstring() + L"/\x03C2\x65E5\U0001F4D0z", false);
    EXPECT_TRUE(std::filesystem::exists(
        folder / std::filesystem::u8path("\xCF\x82\xE6\x97\xA5\xF0\x9F\x93\x90z")));
    EXPECT_EQ(messageOf<Tyr::Exception::MiscelleneousException>(
                  [&] { file.OpenFileForWriting(path("other"), true); }),
              "File stream is already in use");
}

#if !defined(_WIN32)
TEST_F(QbFileTest, WidePathsThatAreNotUnicodeAreInvalid) {
    QbFile file;
    for (const wchar_t unit : {wchar_t(0xD800), wchar_t(0xDC00), wchar_t(0x110000)}) {
        EXPECT_EQ(messageOf<Tyr::Exception::MiscelleneousException>(
                      [&] { file.OpenFileForWriting(std::wstring(L"a") + unit, true); }),
                  std::string("Unable to open file \"a"));
    }
}
#endif

} // namespace
