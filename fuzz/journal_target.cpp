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
#include "support/everything.hpp"
#include "support/journalrecords.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace Testing;

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// An unfinished file with one block for each array, and its journal.
class Unfinished {
public:
    Unfinished() {
        const Fuzz::Folder folder;
        setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", "100", 1);
        SaverOptions options;
        options.journal = true;
        Model model;
        model.saveTo(folder.path("a.mek"), options);
        Everything(3).addTo(model);
        model.checkpoint();
        file = readFile(folder.path("a.mek"));
        const std::string journal = readFile(folder.path("a.mek.journal"));
        head = journal.substr(0, journalHeadSize);
        records = recordsOf(journal);
    }

    std::string file;
    std::string head;
    std::vector<std::string> records; ///< without checksums
};

std::string forgedRecords(Fuzz::ByteSource& source, const Unfinished& unfinished) {
    std::string bytes;
    while (!source.isEmpty()) {
        const unsigned int choice = source.below(3);
        if (choice == 0) {
            const char kind = source.number<char>();
            bytes += makeRecord(kind, source.string(256));
            continue;
        }
        std::string old =
            unfinished.records[source.below(static_cast<unsigned int>(unfinished.records.size()))];
        for (unsigned int changes = choice == 1 ? 0 : source.below(4); changes > 0; --changes) {
            const std::size_t at = recordBeginSize + source.number<std::uint16_t>() % old.size();
            old.replace(std::min(at, old.size()), 4, source.string(8));
        }
        bytes += makeRecord(old[recordBeginSize - 1], old.substr(recordBeginSize));
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
                  (isPlain ? source.bytes(std::string::npos) : forgedRecords(source, unfinished)));
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
