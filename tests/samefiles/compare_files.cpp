/// Compares the files of two folders, byte by byte but for the date text.
#include "mekreader/model.hpp"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t countSize = 4;
constexpr std::size_t firstEntry = 20;
constexpr std::size_t entrySize = 139;
constexpr std::size_t storedLengthInEntry = 133;

std::map<std::string, fs::path> filesOf(const fs::path& folder) {
    std::map<std::string, fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        files[entry.path().filename().u8string()] = entry.path();
    }
    return files;
}

/// Where the entry of a block stands: in the first table, or in that of the index block before.
std::uint64_t entryPosition(const std::vector<MekReader::Block>& blocks, std::uint64_t number) {
    if (number < 20) {
        return firstEntry + number * entrySize;
    }
    const std::uint64_t place = (number - 20) % 200;
    return blocks[number - place - 1].position + countSize + place * entrySize;
}

/// All bytes of a file, but in place of the block that holds the date, its content without it.
std::string withoutDate(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(stream), {});
    MekReader::check(path);
    MekReader::File file(path);
    const std::string& date = file.modifiers().at(0).date;
    std::string content = file.container().stream("Global Information");
    const std::size_t found = content.find(date);
    content.replace(found - countSize, countSize + date.size(), "");
    content.replace(countSize, countSize, ""); // length of the record
    for (const MekReader::Block& block : file.blocks()) {
        if (block.name == "Global Information") {
            const std::uint64_t entry = entryPosition(file.blocks(), block.number);
            bytes.replace(block.position, block.storedLength, content);
            bytes.replace(entry + storedLengthInEntry, countSize, "");
        }
    }
    return bytes;
}

bool areSame(const fs::path& left, const fs::path& right) {
    const std::map<std::string, fs::path> lefts = filesOf(left);
    const std::map<std::string, fs::path> rights = filesOf(right);
    if (lefts.empty() || lefts.size() != rights.size()) {
        throw std::runtime_error("the folders hold different numbers of files, or none");
    }
    bool same = true;
    for (const auto& [name, path] : lefts) {
        const fs::path& other = rights.at(name);
        const bool isSame = withoutDate(path) == withoutDate(other);
        std::cout << (isSame ? "same       " : "different  ") << name << "  " << fs::file_size(path)
                  << " and " << fs::file_size(other) << " bytes\n";
        same = same && isSame;
    }
    return same;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: compare_files FOLDER FOLDER\n";
        return 2;
    }
    try {
        return areSame(argv[1], argv[2]) ? 0 : 1;
    } catch (const std::exception& failure) {
        std::cerr << "compare_files: " << failure.what() << '\n';
        return 1;
    }
}
