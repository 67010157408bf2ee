#include "fuzz/containerinput.hpp"

#include "fuzz/bytesource.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>
#include <vector>

namespace Fuzz {

namespace {

constexpr const char* streamNames[] = {"Heavy Data", "Mek Tree",  "Light Data",
                                       "Attributes", "Resources", "Global Information"};

using Change = std::pair<std::uint16_t, std::uint8_t>; // position, modulo the size, and byte

std::vector<Change> takeChanges(ByteSource& source) {
    std::vector<Change> changes(source.below(4));
    for (auto& [position, byte] : changes) {
        position = source.number<std::uint16_t>();
        byte = source.byte();
    }
    return changes;
}

/// What is left of the input are pieces of streams, each with its stream and length in front. A
/// small limit of blocks gives many blocks, and further tables.
void writeContainer(ByteSource& source, const std::string& path) {
    setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "60", 1);
    TyrQbf::QbFile file;
    file.OpenFileForWriting(path, true);
    std::fwrite(TyrQbf::FileSignature.data(), TyrQbf::FileSignature.size(), 1, file.stream);
    std::fwrite(TyrQbf::FileFormatVersion.data(), TyrQbf::FileFormatVersion.size(), 1, file.stream);
    while (!source.isEmpty()) {
        const char* const name = streamNames[source.below(6)];
        std::string content;
        for (auto left = source.number<std::uint16_t>(); left != 0 && !source.isEmpty(); --left) {
            content += static_cast<char>(source.byte());
        }
        file.index.Put(name, content.data(), content.size());
    }
    for (const char* const name : streamNames) {
        file.SetBlockFlags(name, TyrQbf::FlagCompress);
    }
    file.index.WriteAllBuffersToFileStream(file.stream);
    file.CloseFile();
}

void apply(const std::vector<Change>& changes, const std::string& path) {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(file.tellp());
    for (const auto& [position, byte] : changes) {
        file.seekp(static_cast<std::streamoff>(position % size));
        file.put(static_cast<char>(byte));
    }
}

} // namespace

void writeContainerInput(const std::uint8_t* data, std::size_t size, const std::string& path) {
    ByteSource source(data, size);
    const bool isWholeFile = source.below(2) == 0;
    if (isWholeFile) {
        const std::size_t head = size > 0 ? 1 : 0;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(data + head),
                   static_cast<std::streamsize>(size - head));
        return;
    }
    const std::vector<Change> changes = takeChanges(source);
    writeContainer(source, path);
    apply(changes, path);
}

} // namespace Fuzz
