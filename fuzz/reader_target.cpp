/// Gives the reader files that may hold anything. It has to refuse them with its own failure, and
/// what it calls right has to be readable to the last value.
#include "fuzz/containerinput.hpp"
#include "fuzz/memoryfile.hpp"
#include "mekinfo/print.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"

#include <cstdlib>
#include <ostream>

namespace {

bool isCalledRight(const std::string& path) {
    try {
        MekReader::check(path);
        return true;
    } catch (const MekReader::Failure&) {
        return false;
    }
}

void readEverything(const std::string& path) {
    MekReader::File file(path);
    std::ostream nowhere(nullptr);
    MekInfo::print(nowhere, file);
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            file.floats(variable);
            file.words(variable);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fuzz::MemoryFile file;
    Fuzz::writeContainerInput(data, size, file.path());
    const bool isRight = isCalledRight(file.path());
    try {
        readEverything(file.path());
    } catch (const MekReader::Failure&) {
        if (isRight) {
            std::abort();
        }
    }
    return 0;
}
