#include "tyr/qbf/indexentry.hpp"

#include "tyr/qbf/encoding.hpp"

#include <cstring>

namespace TyrQbf {

const std::string EmptyBlockName =
    "\x0B"
    "Empty Block ";
const std::string IndexBlockName =
    "\x0B"
    "Index Block ";

bool IsEmptyBlock(const std::string& name) {
    return name.compare(0, EmptyBlockName.size(), EmptyBlockName) == 0;
}

bool IsIndexBlock(const std::string& name) {
    return name.compare(0, IndexBlockName.size(), IndexBlockName) == 0;
}

void EncodeEntry(Block& block, const IndexEntry& entry) {
    Encode(block, entry.id);
    Encode(block, nameFieldSize);
    auto* const nameField = reinterpret_cast<char*>(block.Extend(nameFieldSize));
    std::strncpy(nameField, entry.name.c_str(), nameFieldSize);
    Encode(block, entry.storedLength);
    Encode(block, entry.flags);
    Encode(block, entry.reserved);
}

} // namespace TyrQbf
