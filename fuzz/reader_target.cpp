/// @file
/// Reads, checks, describes, lints and exports arbitrary files. The reader must raise
/// `MekReader::Error`; of a file that the check accepts it must read every array, look for findings
/// and print each description.
///
/// If the first byte of the input is even, the other bytes are the file. Otherwise they describe a
/// container, which is written with valid tables and checksums so that the reader reaches its
/// content; then up to three bytes of the file are changed.
#include "fuzz/bytesource.hpp"
#include "fuzz/folder.hpp"
#include "mekdiff/comparison.hpp"
#include "mekinfo/json.hpp"
#include "mekinfo/print.hpp"
#include "mekinfo/statistics.hpp"
#include "mekinfo/summary.hpp"
#include "meklint/lint.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "mekvtu/export.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr const char* streamNames[] = {"Heavy Data", "Mek Tree",  "Light Data",
                                       "Attributes", "Resources", "Global Information"};

/// The input is a sequence of records: number of a stream, length, content. The small block size
/// gives many blocks and several index tables.
void writeContainer(Fuzz::ByteSource& source, const std::string& path) {
    setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "60", 1);
    TyrQbf::QbFile file;
    file.OpenFileForWriting(path, true);
    std::fwrite(TyrQbf::FileSignature.data(), TyrQbf::FileSignature.size(), 1, file.stream);
    std::fwrite(TyrQbf::FileFormatVersion.data(), TyrQbf::FileFormatVersion.size(), 1, file.stream);
    while (!source.isEmpty()) {
        const char* const name = streamNames[source.below(6)];
        const std::string content = source.bytes(source.number<std::uint16_t>());
        file.index.Put(name, content.data(), content.size());
    }
    for (const char* const name : streamNames) {
        file.SetBlockFlags(name, TyrQbf::FlagCompress);
    }
    file.index.WriteAllBuffersToFileStream(file.stream);
    file.CloseFile();
}

void writeInput(Fuzz::ByteSource& source, const std::string& path) {
    if (source.below(2) == 0) {
        std::ofstream(path, std::ios::binary) << source.bytes(std::string::npos);
        return;
    }
    std::vector<std::pair<std::uint16_t, char>> changes(source.below(4)); // position and byte
    for (auto& [position, byte] : changes) {
        position = source.number<std::uint16_t>();
        byte = source.number<char>();
    }
    writeContainer(source, path);
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(file.tellp());
    for (const auto& [position, byte] : changes) {
        file.seekp(static_cast<std::streamoff>(position % size)).put(byte);
    }
}

void readEverything(const std::string& path) {
    MekReader::File file(path);
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            if (!file.hasCircularLinks(variable)) {
                file.floats(variable);
                file.words(variable);
            }
        }
    }
}

void lint(const std::string& path) {
    MekReader::File file(path);
    MekLint::lint(file, [](const MekLint::Finding& finding) { MekLint::toLine(finding); });
}

/// A model equals itself.
void compareWithItself(const std::string& path) {
    MekReader::File left(path);
    MekReader::File right(path);
    const MekDiff::Result result =
        MekDiff::compare({{left, "left"}, {right, "right"}}, {}, [](const std::string&) {});
    if (result.differences != 0) {
        std::abort();
    }
}

template <class Action>
bool succeeds(const Action& action) {
    try {
        action();
        return true;
    } catch (const MekReader::Error&) {
        return false;
    }
}

/// Runs all, also after an error.
bool isDescribed(const std::string& path) {
    const auto prints = [&path](const auto& print) {
        return succeeds([&] {
            MekReader::File file(path);
            std::ostream discarded(nullptr);
            print(discarded, file);
        });
    };
    const bool hasListing = prints(MekInfo::print);
    const bool hasSummary = prints(
        [&](std::ostream& out, MekReader::File& file) { MekInfo::printSummary(out, file, path); });
    const bool hasStatistics = prints(MekInfo::printStatistics);
    const bool hasJson = prints([&](std::ostream& out, MekReader::File& file) {
        MekInfo::printJson(out, file, path, true);
    });
    return hasListing && hasSummary && hasStatistics && hasJson;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::Folder folder;
    const std::string path = folder.path("input");
    Fuzz::ByteSource source(data, size);
    writeInput(source, path);
    const bool isValid = succeeds([&] { MekReader::check(path); });
    const bool isRead = succeeds([&] { readEverything(path); });
    const bool isLinted = succeeds([&] { lint(path); });
    const bool isShown = isDescribed(path);
    const bool isCompared = succeeds([&] { compareWithItself(path); });
    if (isValid && !(isCompared && isRead && isLinted && isShown)) {
        std::abort();
    }
    succeeds([&] {
        MekReader::File file(path);
        MekVtu::exportVtu(file, folder.path("vtu"), "model");
    });
    return 0;
}
