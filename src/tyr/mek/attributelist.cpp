#include "tyr/mek/attributelist.hpp"

#include "tyr/qbf/index.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

namespace TyrUtil {

AttributeValue AttributeValue::Of(std::uint32_t value) {
    AttributeValue attribute{};
    attribute.type = UnsignedValue;
    attribute.value.uintValue = value;
    return attribute;
}

AttributeValue AttributeValue::Of(float value) {
    AttributeValue attribute{};
    attribute.type = FloatValue;
    attribute.value.floatValue = value;
    return attribute;
}

AttributeValue AttributeValue::Of(double value) {
    AttributeValue attribute{};
    attribute.type = DoubleValue;
    attribute.value.doubleValue = value;
    return attribute;
}

AttributeValue AttributeValue::Of(const std::string& value) {
    AttributeValue attribute{};
    attribute.type = StringValue;
    std::memset(attribute.value.text, 0, textSize);
    const std::size_t length = std::min(std::strlen(value.c_str()), textSize);
    std::memcpy(attribute.value.text, value.data(), length);
    return attribute;
}

std::string AttributeValue::ToString() const {
    const char* const end = std::find(value.text, value.text + textSize, '\0');
    return std::string(static_cast<const char*>(value.text), end);
}

void PutSplit(TyrQbf::Index& index, const std::string& name, const AttributeList& list) {
    if (list.values.empty()) {
        constexpr std::uint32_t noElements = 0; // of each of the six vectors below
        index.PutEach(name, noElements, noElements, noElements, noElements, noElements, noElements);
        return;
    }
    std::vector<std::string> keys;
    std::vector<unsigned char> types;
    std::vector<unsigned int> unsignedValues;
    std::vector<float> floats;
    std::vector<double> doubles;
    std::vector<std::string> texts;
    for (const auto& [key, attribute] : list.values) {
        keys.push_back(key);
        types.push_back(static_cast<unsigned char>(attribute.type));
        switch (attribute.type) {
            case UnsignedValue:
                unsignedValues.push_back(attribute.value.uintValue);
                break;
            case FloatValue:
                floats.push_back(attribute.value.floatValue);
                break;
            case StringValue:
                texts.push_back(attribute.ToString());
                break;
            case DoubleValue:
                doubles.push_back(attribute.value.doubleValue);
                break;
        }
    }
    index.Put(name, keys);
    index.Put(name, types);
    index.Put(name, unsignedValues);
    index.Put(name, floats);
    index.Put(name, doubles);
    index.Put(name, texts);
}

} // namespace TyrUtil
