/// Gives the converter texts that may be anything. It has to refuse them as what they are, or make
/// a right model file of them.
#include "converter.hpp"
#include "frd/formaterror.hpp"
#include "fuzz/folder.hpp"
#include "fuzz/memoryfile.hpp"
#include "mekreader/model.hpp"

#include <cstdint>
#include <filesystem>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzz::Folder folder;
    const std::filesystem::path output = folder.path() / "output";
    const Fuzz::MemoryFile input;
    input.write(data, size);
    try {
        Frd::convert(input.path(), output, true);
    } catch (const Frd::FormatError&) {
        return 0;
    }
    MekReader::check(output);
    return 0;
}
