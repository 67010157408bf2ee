/// Gives the reader files that may hold anything. It has to refuse them with its own failure, and
/// what it calls right has to be readable to the last value.
#include "fuzz/bytesource.hpp"
#include "fuzz/memoryfile.hpp"
#include "mekinfo/print.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <cstdio>
#include <cstdlib>
#include <ostream>

namespace {

constexpr const char* streamNames[] = {"Heavy Data", "Mek Tree",  "Light Data",
                                       "Attributes", "Resources", "Global Information"};

/// A container whose tables and checksums are right, so that its content is looked at: its streams
/// are blocks of the input, each with its stream and length in front.
void writeContainer(Fuzz::ByteSource& source, const std::string& path) {
    setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "1000", 1);
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

bool isCalledRight(const std::string& path) {
    try {
        MekReader::check(path);
        return true;
    } catch (const MekReader::Failure&) {
        return false;
    }
}

void readEverything(const std::string& path) {
    MekReader::File file(path);
    std::ostream nowhere(nullptr);
    MekInfo::print(nowhere, file);
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            file.floats(variable);
            file.words(variable);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::MemoryFile file;
    Fuzz::ByteSource source(data, size);
    const bool isWholeFile = size < 2 || source.below(2) == 0;
    if (isWholeFile) {
        file.write(data + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0);
    } else {
        writeContainer(source, file.path());
    }
    const bool isRight = isCalledRight(file.path());
    try {
        readEverything(file.path());
    } catch (const MekReader::Failure&) {
        if (isRight) {
            std::abort();
        }
    }
    return 0;
}
