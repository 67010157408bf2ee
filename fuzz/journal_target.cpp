/// @file
/// Recovers an unfinished file from arbitrary journals. The library must raise one of its
/// exceptions or make a valid file whose arrays can all be read.
///
/// The head of the journal is that of the file. If the first byte of the input is even, the other
/// bytes are the records. Otherwise they describe records, which get valid lengths and checksums:
/// recorded ones, recorded ones with changed bytes, and new ones.
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/recovery.hpp>

#include "fuzz/bytesource.hpp"
#include "fuzz/folder.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;

constexpr std::size_t headSize = 28;
constexpr std::size_t beginSize = 5; // of a record: length and kind
constexpr std::size_t crcSize = 4;

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string bytesOf(std::uint32_t number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

std::string record(std::uint8_t kind, const std::string& payload) {
    std::string bytes = bytesOf(static_cast<std::uint32_t>(payload.size()));
    bytes += static_cast<char>(kind) + payload;
    const auto* const start = reinterpret_cast<const Bytef*>(bytes.data());
    return bytes +
           bytesOf(static_cast<std::uint32_t>(crc32(0, start, static_cast<uInt>(bytes.size()))));
}

/// An unfinished file with one block for each array, and its journal. There is a record of each
/// kind.
class Unfinished {
public:
    Unfinished() {
        const Fuzz::Folder folder;
        setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "100", 1);
        SaverOptions options;
        options.journal = true;
        Model model;
        model.saveTo(folder.path("a.mek"), options);
        writeTo(model);
        file = readFile(folder.path("a.mek"));
        const std::string journal = readFile(folder.path("a.mek.journal"));
        head = journal.substr(0, headSize);
        for (std::size_t at = headSize; at < journal.size();) {
            std::uint32_t size = 0;
            std::memcpy(&size, &journal[at], sizeof size);
            records.push_back(journal.substr(at, beginSize + size));
            at += beginSize + size + crcSize;
        }
    }

    std::string file;
    std::string head;
    std::vector<std::string> records; ///< without checksums

private:
    static void writeTo(Model& model) {
        Attributes attributes;
        attributes.set("a", 1U);
        attributes.set("b", 1.5F);
        attributes.set("c", "text");
        model.addNode(NodeType::RootGroup, "R", attributes);
        const auto ids = model.addAssemblyComponents({"/R/G/", "/R/G/S"});
        model.addAssemblyComponents({{"/R/G/", attributes}, {"/R/T", Attributes()}});
        NodeProperties properties;
        properties.set(PropertyType::Scale, std::vector<float>{1, 2, 3});
        model.setNodeData(1, properties, attributes);
        properties.set(PropertyType::DiffuseColor, std::vector<float>{1, 2, 3});
        try {
            model.setNodeData(1, properties); // fails in part
        } catch (const Tyr::Exception::Exception&) {
        }
        StepList steps(2);
        steps.set(0, Step{"1", attributes});
        steps.set(1, Step{"2"});
        model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(10, 3), ids, Step{});
        model.addArrayProperty("T", DatasetType::ResultA1, Array1d<float>(30), ids[1], steps);
        model.checkpoint();
    }
};

std::string recordsOf(Fuzz::ByteSource& source, const Unfinished& unfinished) {
    std::string bytes;
    while (!source.isEmpty()) {
        const unsigned int choice = source.below(3);
        if (choice == 0) {
            const auto kind = source.number<std::uint8_t>();
            bytes += record(kind, source.string(256));
            continue;
        }
        std::string old =
            unfinished.records[source.below(static_cast<unsigned int>(unfinished.records.size()))];
        for (unsigned int changes = choice == 1 ? 0 : source.below(4); changes > 0; --changes) {
            const std::size_t at = beginSize + source.number<std::uint16_t>() % old.size();
            old.replace(std::min(at, old.size()), 4, source.string(8));
        }
        bytes += record(static_cast<std::uint8_t>(old[beginSize - 1]), old.substr(beginSize));
    }
    return bytes;
}

void readEverything(const std::string& path) {
    MekReader::check(path);
    MekReader::File file(path);
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            if (!file.hasCircularLinks(variable)) {
                file.words(variable);
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Unfinished unfinished;
    const Fuzz::Folder folder;
    Fuzz::ByteSource source(data, size);
    const bool isPlain = source.below(2) == 0;
    writeFile(folder.path("a.mek"), unfinished.file);
    writeFile(folder.path("a.mek.journal"),
              unfinished.head +
                  (isPlain ? source.bytes(std::string::npos) : recordsOf(source, unfinished)));
    try {
        recover(folder.path("a.mek"), folder.path("out.mek"));
    } catch (const Tyr::Exception::Exception&) {
        return 0;
    }
    try {
        readEverything(folder.path("out.mek"));
    } catch (const MekReader::Error&) {
        std::abort();
    }
    return 0;
}
