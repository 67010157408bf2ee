#include "tyr/qbf/encoding.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/coding.hpp"

#include <limits>

namespace TyrQbf {

namespace {

template <class T>
void putNumber(Block& block, T value) {
    encodeLittleEndian(value, block.Extend(sizeof(T)));
}

template <class T>
void putNumbers(Block& block, const std::vector<T>& values) {
    putNumber(block, encodedCount(values.size()));
    if (values.empty()) {
        return;
    }
    unsigned char* target = block.Extend(encodedCount(values.size() * sizeof(T)));
    for (const T value : values) {
        encodeLittleEndian(value, target);
        target += sizeof(T);
    }
}

} // namespace

std::uint32_t encodedCount(std::size_t count) {
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }
    return static_cast<std::uint32_t>(count);
}

void Encode(Block& block, unsigned char value) { putNumber(block, value); }
void Encode(Block& block, bool value) { putNumber<std::uint8_t>(block, value ? 1 : 0); }
void Encode(Block& block, int value) { putNumber(block, value); }
void Encode(Block& block, unsigned int value) { putNumber(block, value); }
void Encode(Block& block, std::uint64_t value) { putNumber(block, value); }
void Encode(Block& block, float value) { putNumber(block, value); }

void Encode(Block& block, const std::string& text) {
    const std::uint32_t count = encodedCount(text.size());
    putNumber(block, count);
    if (count != 0) {
        block.Put(text.data(), count);
    }
}

void Encode(Block& block, const std::vector<unsigned char>& values) { putNumbers(block, values); }
void Encode(Block& block, const std::vector<unsigned int>& values) { putNumbers(block, values); }
void Encode(Block& block, const std::vector<float>& values) { putNumbers(block, values); }
void Encode(Block& block, const std::vector<double>& values) { putNumbers(block, values); }

void Encode(Block& block, const std::vector<std::string>& texts) {
    putNumber(block, encodedCount(texts.size()));
    for (const std::string& text : texts) {
        Encode(block, text);
    }
}

} // namespace TyrQbf
