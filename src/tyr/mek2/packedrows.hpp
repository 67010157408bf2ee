/// @file
/// The object that a `PackedArray` holds, and its form as the array of a command.
#pragma once

#include <tyr/mek2/packedarray.hpp>

#include "tyr/qbf/index.hpp"

#include <cstdint>
#include <memory>
#include <utility>

namespace Tyr::Mek2 {

struct PackedStorage {
    PackedHead head;
    TyrQbf::SharedPiece piece; ///< all planes, one after the other
};

/// The rows of a packed array.
class PackedRows {
public:
    PackedRows() = default;
    PackedRows(std::shared_ptr<const PackedStorage> packed) : packed_(std::move(packed)) {}

    std::int64_t rows() const {
        return packed_ != nullptr ? static_cast<std::int64_t>(packed_->head.rows) : 0;
    }

    std::uint32_t elementType() const {
        return packed_ != nullptr ? packed_->head.elementType : PackedHead().elementType;
    }

    // Only if there are rows:

    unsigned char width() const { return static_cast<unsigned char>(packed_->head.width); }
    const TyrQbf::SharedPiece& data() const { return packed_->piece; }

private:
    std::shared_ptr<const PackedStorage> packed_{};
};

} // namespace Tyr::Mek2
