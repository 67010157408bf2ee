#include "tyr/qbf/indextable.hpp"

#include "tyr/qbf/encoding.hpp"

namespace TyrQbf {

void EncodeTable(Block& block, const IndexEntry* first, const IndexEntry* last) {
    Encode(block, static_cast<std::uint32_t>(last - first));
    for (const IndexEntry* entry = first; entry != last; ++entry) {
        EncodeEntry(block, *entry);
    }
}

} // namespace TyrQbf
