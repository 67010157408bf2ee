#include "mekinfo/arrayformat.hpp"

#include "mekreader/error.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace MekInfo {

namespace {

using MekReader::Variable;

/// Collects small pieces and passes them on in large ones.
class Buffer {
public:
    explicit Buffer(const ByteSink& sink) : sink_(sink) { bytes_.reserve(capacity); }

    void add(std::string_view bytes) {
        if (bytes_.size() + bytes.size() > capacity) {
            flush();
        }
        bytes_ += bytes;
    }
    void flush() {
        sink_(bytes_);
        bytes_.clear();
    }

private:
    static constexpr std::size_t capacity = 0x10000;

    const ByteSink& sink_;
    std::string bytes_;
};

template <class Number>
void addNumber(Buffer& buffer, Number number) {
    std::array<char, 32> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
    buffer.add({text.data(), static_cast<std::size_t>(result.ptr - text.data())});
}

void addElement(Buffer& buffer, float value) {
    if (std::isnan(value)) {
        buffer.add("nan"); // not "-nan"
    } else {
        addNumber(buffer, value);
    }
}

void addElement(Buffer& buffer, std::uint32_t value) { addNumber(buffer, value); }

template <class T>
void addRows(Buffer& buffer, const std::vector<T>& values, std::size_t width) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        addElement(buffer, values[i]);
        buffer.add((i + 1) % width == 0 ? "\n" : ",");
    }
}

void addLittleEndian(Buffer& buffer, std::uint32_t word) {
    std::array<char, 4> bytes{};
    for (char& byte : bytes) {
        byte = static_cast<char>(word & 0xFF);
        word >>= 8;
    }
    buffer.add({bytes.data(), bytes.size()});
}

/// Magic string, version, length of the header, and the header: a Python literal. Spaces align the
/// array that follows.
std::string npyHeader(const Variable& owner, bool isFloat) {
    constexpr std::size_t alignment = 64;
    constexpr std::size_t prefixSize = 10;
    std::string header = "{'descr': '";
    header += isFloat ? "<f4" : "<u4";
    header += "', 'fortran_order': False, 'shape': (" + std::to_string(owner.rows()) + ",";
    header += owner.width == 1 ? "" : " " + std::to_string(owner.width);
    header += "), }";
    const std::size_t unaligned = (prefixSize + header.size() + 1) % alignment;
    header.append((alignment - unaligned) % alignment, ' ');
    header += '\n';
    std::string prefix = "\x93NUMPY";
    prefix += {'\x01', '\x00', static_cast<char>(header.size() & 0xFF),
               static_cast<char>(header.size() >> 8)};
    return prefix + header;
}

bool hasFloats(const Variable& owner) {
    if (owner.elementType == Variable::floatElements) {
        return true;
    }
    if (owner.elementType == Variable::unsignedElements) {
        return false;
    }
    throw MekReader::Error("variable \"" + owner.name + "\": unknown element type " +
                           std::to_string(owner.elementType));
}

void addCsv(Buffer& buffer, MekReader::File& file, const Variable& owner) {
    if (hasFloats(owner)) {
        addRows(buffer, file.floats(owner), owner.width);
    } else {
        addRows(buffer, file.words(owner), owner.width);
    }
}

} // namespace

void formatArray(MekReader::File& file, const Variable& variable, ArrayFormat format,
                 const ByteSink& sink) {
    const Variable& owner = file.owner(variable);
    const bool isFloat = hasFloats(owner);
    Buffer buffer(sink);
    if (format == ArrayFormat::Csv) {
        addCsv(buffer, file, owner);
    } else {
        const std::vector<std::uint32_t> words = file.words(owner);
        if (format == ArrayFormat::Npy) {
            buffer.add(npyHeader(owner, isFloat));
        }
        for (const std::uint32_t word : words) {
            addLittleEndian(buffer, word);
        }
    }
    buffer.flush();
}

} // namespace MekInfo
