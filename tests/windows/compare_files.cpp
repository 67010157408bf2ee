/// Compares two files byte by byte, without the string of the date.
#include "mekreader/model.hpp"

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

/// The stored bytes of all blocks except the one that contains the date, and except the index
/// blocks, which contain its length and are validated by the check.
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
