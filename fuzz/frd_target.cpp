/// Gives the converter texts that may be anything. It has to refuse them as what they are, or make
/// a right model file of them.
#include "converter.hpp"
#include "frd/formaterror.hpp"
#include "fuzz/memoryfile.hpp"
#include "mekreader/model.hpp"

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>

namespace {

/// A folder that goes with the process.
class Folder {
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() /
                ("fuzz-frd-" + std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    std::filesystem::path output() const { return path_ / "output"; }

private:
    std::filesystem::path path_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    const Fuzz::MemoryFile input;
    input.write(data, size);
    try {
        Frd::convert(input.path(), folder.output(), true);
    } catch (const Frd::FormatError&) {
        return 0;
    }
    MekReader::check(folder.output());
    return 0;
}
