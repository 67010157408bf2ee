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

std::map<std::string, fs::path> filesOf(const fs::path& folder) {
    std::map<std::string, fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        files[entry.path().filename().u8string()] = entry.path();
    }
    return files;
}

/// The stored bytes of all blocks, but of the one that holds the date its content without it. What
/// the tables say of them is right once the file has passed the check.
std::string withoutDate(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    MekReader::check(path);
    MekReader::File file(path);
    std::string all;
    for (const MekReader::Block& block : file.blocks()) {
        all += block.name + '\0' + static_cast<char>(block.flags);
        if (block.name == "Global Information") {
            const std::string& date = file.modifiers().at(0).date;
            std::string content = file.container().stream(block.name);
            content.replace(content.find(date) - 4, 4 + date.size(), ""); // with its length
            all += content.replace(4, 4, "");                             // length of the record
        } else {
            all += bytes.substr(block.position, block.storedLength);
        }
    }
    return all;
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
