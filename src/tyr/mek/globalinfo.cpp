#include "tyr/mek/globalinfo.hpp"

#include "tyr/qbf/encoding.hpp"

namespace TyrMek {

void Encode(TyrQbf::Block& block, const std::vector<ModifierInfo>& modifiers) {
    TyrQbf::Encode(block, TyrQbf::EncodedCount(modifiers.size()));
    for (const ModifierInfo& modifier : modifiers) {
        TyrQbf::EncodeSizedRecord(block, "0.1", [&](TyrQbf::Block& fields) {
            TyrQbf::Encode(fields, modifier.toolName);
            TyrQbf::Encode(fields, modifier.toolVersion);
            TyrQbf::Encode(fields, modifier.formatVersion);
            TyrQbf::Encode(fields, modifier.date);
            TyrQbf::Encode(fields, modifier.computerName);
            TyrQbf::Encode(fields, modifier.userName);
            TyrQbf::Encode(fields, modifier.comment);
        });
    }
}

void Encode(TyrQbf::Block& block, const std::vector<ResultAttributes>& results) {
    TyrQbf::Encode(block, TyrQbf::EncodedCount(results.size()));
}

} // namespace TyrMek
