#include "tyr/qbf/encoding.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/coding.hpp"

#include <limits>

namespace TyrQbf {

namespace {

template <class T>
void PutNumber(Block& block, T value) {
    EncodeLittleEndian(value, block.Extend(sizeof(T)));
}

template <class T>
void PutNumbers(Block& block, const std::vector<T>& values) {
    PutNumber(block, EncodedCount(values.size()));
    if (values.empty()) {
        return;
    }
    unsigned char* target = block.Extend(EncodedCount(values.size() * sizeof(T)));
    for (const T value : values) {
        EncodeLittleEndian(value, target);
        target += sizeof(T);
    }
}

} // namespace

std::uint32_t EncodedCount(std::size_t count) {
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }
    return static_cast<std::uint32_t>(count);
}

void Encode(Block& block, unsigned char value) { PutNumber(block, value); }
void Encode(Block& block, bool value) { PutNumber<std::uint8_t>(block, value ? 1 : 0); }
void Encode(Block& block, int value) { PutNumber(block, value); }
void Encode(Block& block, unsigned int value) { PutNumber(block, value); }
void Encode(Block& block, std::uint64_t value) { PutNumber(block, value); }
void Encode(Block& block, float value) { PutNumber(block, value); }

void Encode(Block& block, const std::string& string) {
    const std::uint32_t count = EncodedCount(string.size());
    PutNumber(block, count);
    if (count != 0) {
        block.Put(string.data(), count);
    }
}

void Encode(Block& block, const std::vector<unsigned char>& values) { PutNumbers(block, values); }
void Encode(Block& block, const std::vector<unsigned int>& values) { PutNumbers(block, values); }
void Encode(Block& block, const std::vector<float>& values) { PutNumbers(block, values); }
void Encode(Block& block, const std::vector<double>& values) { PutNumbers(block, values); }

void Encode(Block& block, const std::vector<std::string>& strings) {
    PutNumber(block, EncodedCount(strings.size()));
    for (const std::string& string : strings) {
        Encode(block, string);
    }
}

} // namespace TyrQbf
