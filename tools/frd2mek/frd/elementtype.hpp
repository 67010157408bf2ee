/// @file
/// The element types of a result file.
#pragma once

#include <array>
#include <cstddef>

namespace Frd {

struct ElementType {
    const char* name;
    std::size_t dimension;
    std::size_t nodes; ///< per element
};

/// Type number n of the file has index n - 1. Nodes keep the order of the file, which
/// `docs/file-format.md` describes.
inline constexpr std::array<ElementType, 12> elementTypes{{{"HE8", 3, 8},
                                                           {"PE6", 3, 6},
                                                           {"TE4", 3, 4},
                                                           {"HE20", 3, 20},
                                                           {"PE15", 3, 15},
                                                           {"TE10", 3, 10},
                                                           {"TR3", 2, 3},
                                                           {"TR6", 2, 6},
                                                           {"QU4", 2, 4},
                                                           {"QU8", 2, 8},
                                                           {"BE2", 1, 2},
                                                           {"BE3", 1, 3}}};

} // namespace Frd
