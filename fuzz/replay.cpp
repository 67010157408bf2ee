/// Runs a fuzz target on files, for compilers that have no fuzzer. Usage: replay FILE-OR-FOLDER...
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

int filesRun = 0;

void runFile(const std::filesystem::path& path) {
    std::cout << path.filename().string() << std::endl;
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++filesRun;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            runFile(argv[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            runFile(entry.path());
        }
    }
    std::cout << filesRun << " inputs\n";
    return filesRun > 0 ? 0 : 1;
}
