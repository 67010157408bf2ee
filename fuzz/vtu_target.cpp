/// Hands containers with any mesh and results on to VTK's format. What can't be handed on has to be
/// refused.
#include "fuzz/containerinput.hpp"
#include "fuzz/folder.hpp"
#include "fuzz/memoryfile.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"
#include "mekvtu/export.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::Folder folder;
    const Fuzz::MemoryFile input;
    Fuzz::writeContainerInput(data, size, input.path());
    try {
        MekReader::File file(input.path());
        MekVtu::exportVtu(file, folder.path(), "model");
    } catch (const MekReader::Failure&) {
        return 0;
    }
    return 0;
}
