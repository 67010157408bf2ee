/// Compares two files, byte by byte but for the date text.
#include "mekreader/model.hpp"

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

/// The stored bytes of all blocks but the one that holds the date, and the tables that tell its
/// length: what they say is right once the file has passed the check.
std::string withoutDate(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    MekReader::check(path);
    const MekReader::File file(path);
    std::string all;
    for (const MekReader::Block& block : file.blocks()) {
        all += block.name + '\0' + static_cast<char>(block.flags);
        if (block.name != "Global Information" && !block.isIndex()) {
            all += bytes.substr(block.position, block.storedLength);
        }
    }
    return all;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3 || withoutDate(argv[1]) != withoutDate(argv[2])) {
        std::cerr << "usage: compare_files FILE FILE, which are not the same\n";
        return 1;
    }
}
