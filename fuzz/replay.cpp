/// @file
/// Runs a fuzz target on the files of a folder, for compilers without libFuzzer.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int, char** argv) {
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::cout << entry.path().filename().string() << std::endl;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string bytes(std::istreambuf_iterator<char>(file), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++inputs;
    }
    std::cout << inputs << " inputs\n";
    return inputs > 0 ? 0 : 1;
}
