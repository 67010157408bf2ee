/// Gives the reader, and what hands its models on to VTK's format, files that may hold anything.
/// They have to be refused with the reader's failure, and what the reader calls right has to be
/// readable to the last value.
///
/// The first byte of the input is even and the others are the file itself; or it tells a container
/// whose tables and checksums are right, so that its content is looked at, of which up to three
/// bytes are changed then.
#include "fuzz/bytesource.hpp"
#include "fuzz/folder.hpp"
#include "mekinfo/print.hpp"
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

/// The input is made of pieces of streams, each with its stream and length in front. A small limit
/// of blocks gives many blocks, and further tables.
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
    std::ostream nowhere(nullptr);
    MekInfo::print(nowhere, file);
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            if (!file.hasCircularLinks(variable)) {
                file.floats(variable);
                file.words(variable);
            }
        }
    }
}

template <class Action>
bool isDone(const Action& action) {
    try {
        action();
        return true;
    } catch (const MekReader::Error&) {
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::Folder folder;
    const std::string path = folder.path("input");
    Fuzz::ByteSource source(data, size);
    writeInput(source, path);
    const bool isRight = isDone([&] { MekReader::check(path); });
    if (!isDone([&] { readEverything(path); }) && isRight) {
        std::abort();
    }
    isDone([&] {
        MekReader::File file(path);
        MekVtu::exportVtu(file, folder.path("vtu"), "model");
    });
    return 0;
}
