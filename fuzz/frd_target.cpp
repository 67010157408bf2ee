/// @file
/// Converts arbitrary bytes. The converter must raise an error about the input or write a valid
/// model file.
#include "converter.hpp"
#include "frd/formaterror.hpp"
#include "fuzz/folder.hpp"
#include "mekreader/model.hpp"

#include <cstdint>
#include <fstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::Folder folder;
    std::ofstream(folder.path("input"), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        Frd::convert(folder.path("input"), folder.path("output"), {true, true});
        MekReader::check(folder.path("output"));
    } catch (const Frd::FormatError&) {
    } catch (const Frd::UnfinishedFile&) {
    }
    return 0;
}
