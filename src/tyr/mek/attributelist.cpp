#include "tyr/mek/attributelist.hpp"

#include "tyr/qbf/index.hpp"

#include <vector>

namespace TyrUtil {

void PutSplit(TyrQbf::Index& index, const std::string& name, const AttributeList& list) {
    if (list.values.IsEmpty()) {
        constexpr std::uint32_t noElements = 0; // of each of the six vectors below
        index.PutEach(name, noElements, noElements, noElements, noElements, noElements, noElements);
        return;
    }
    std::vector<std::string> keys;
    std::vector<unsigned char> types;
    std::vector<unsigned int> unsignedValues;
    std::vector<float> floats;
    std::vector<double> doubles;
    std::vector<std::string> strings;
    for (const PackedAttributes::Entry& entry : list.values) {
        keys.emplace_back(entry.key);
        types.push_back(static_cast<unsigned char>(entry.type));
        switch (entry.type) {
            case UnsignedValue:
                unsignedValues.push_back(entry.Value().value.uintValue);
                break;
            case FloatValue:
                floats.push_back(entry.Value().value.floatValue);
                break;
            case StringValue:
                strings.emplace_back(entry.bytes);
                break;
            case DoubleValue:
                doubles.push_back(entry.Value().value.doubleValue);
                break;
        }
    }
    index.Put(name, keys);
    index.Put(name, types);
    index.Put(name, unsignedValues);
    index.Put(name, floats);
    index.Put(name, doubles);
    index.Put(name, strings);
}

} // namespace TyrUtil
