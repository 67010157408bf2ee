/// @file
/// Reads the payload of a record.
#pragma once

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/coding.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace Tyr::Mek2::Journal {

/// Takes values in the order in which an `Encoder` has put them.
/// @throws InvalidArguments from every operation: the payload ends early
class Decoder {
public:
    explicit Decoder(std::string payload) : bytes_(std::move(payload)) {}

    template <class T>
    T number() {
        const std::size_t start = take(sizeof(T));
        return TyrQbf::DecodeLittleEndian<T>(reinterpret_cast<const unsigned char*>(bytes_.data()) +
                                             start);
    }

    std::string string() {
        const auto size = number<std::uint32_t>();
        return bytes_.substr(take(size), size);
    }

private:
    std::size_t take(std::size_t size) {
        if (size > bytes_.size() - position_) {
            TYR_RAISE(Exception::InvalidArguments("a record of the journal is invalid"));
        }
        return std::exchange(position_, position_ + size);
    }

    std::string bytes_;
    std::size_t position_ = 0;
};

} // namespace Tyr::Mek2::Journal
