#include "mekrecover/blocks.hpp"

#include "console/error.hpp"
#include "console/inputfile.hpp"
#include "console/outputfile.hpp"
#include "mekreader/container.hpp"
#include "mekreader/error.hpp"
#include "mekrecover/blockscanner.hpp"

#include <cerrno>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <string_view>

namespace MekRecover {

namespace {

bool isComplete(const std::filesystem::path& path) {
    try {
        const MekReader::Container container(path);
        return true;
    } catch (const MekReader::Error&) {
        return false;
    }
}

/// The file for the content of one block.
class BlockFile {
public:
    BlockFile(const std::filesystem::path& path, bool overwrite)
        : path_(path),
          output_(path, overwrite),
          stream_(output_.unfinishedPath(), std::ios::binary) {}

    void write(std::string_view bytes) {
        stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        raiseOnError();
    }

    void finish() {
        stream_.close();
        raiseOnError();
        output_.finish();
    }

private:
    void raiseOnError() const {
        if (!stream_) {
            throw Console::FileError(path_,
                                     errno != 0 ? Console::reasonOf(errno) : "cannot be written");
        }
    }

    std::filesystem::path path_;
    Console::OutputFile output_;
    std::ofstream stream_;
};

std::string fileName(std::uint64_t number) {
    constexpr int digits = 6;
    std::ostringstream name;
    name << "block-" << std::setw(digits) << std::setfill('0') << number << ".bin";
    return name.str();
}

std::optional<WholeBlock> extract(BlockScanner& scanner, const CommandLine& commandLine) {
    const std::filesystem::path folder = std::filesystem::u8path(commandLine.extractFolder);
    BlockFile file(folder / fileName(scanner.nextNumber()), commandLine.overwrite);
    const std::optional<WholeBlock> block =
        scanner.next([&file](std::string_view bytes) { file.write(bytes); });
    if (block) {
        file.finish();
    }
    return block;
}

std::optional<WholeBlock> nextBlock(BlockScanner& scanner, const CommandLine& commandLine) {
    return commandLine.extractFolder.empty() ? scanner.next([](std::string_view) {})
                                             : extract(scanner, commandLine);
}

void print(const WholeBlock& block) {
    std::cout << "block " << block.number << ": position " << block.position << ", stored length "
              << block.storedLength << ", content length " << block.contentLength << '\n';
}

} // namespace

bool saveBlocks(const CommandLine& commandLine,
                const std::function<void(const std::string&)>& warn) {
    const std::filesystem::path path = commandLine.unfinished();
    Console::checkInputFile(path, Console::FileFormat::Model);
    BlockScanner scanner(path);
    if (isComplete(path)) {
        throw Console::FileError(path, "is complete; mekinfo shows it");
    }
    if (!commandLine.extractFolder.empty()) {
        std::filesystem::create_directories(std::filesystem::u8path(commandLine.extractFolder));
    }
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
    while (const std::optional<WholeBlock> block = nextBlock(scanner, commandLine)) {
        print(*block);
        ++count;
        bytes += block->contentLength;
    }
    std::cout << path.u8string() << ": " << count << " whole blocks, " << bytes
              << " bytes of arrays; their names, types, nodes and steps are lost\n";
    if (scanner.remaining() != 0) {
        warn(path.u8string() + ": the " + std::to_string(scanner.remaining()) +
             " bytes from byte " + std::to_string(scanner.position()) + " on are no whole block");
    } else if (count == 0) {
        warn(path.u8string() + ": has no block");
    }
    return count != 0 && scanner.remaining() == 0;
}

} // namespace MekRecover
