#include "mekvtu/celltype.hpp"

namespace MekVtu {

namespace {

constexpr std::uint8_t polyLine = 4;
constexpr std::uint8_t polygon = 7;
constexpr std::string_view polygonPrefix = "PG";

constexpr std::uint8_t wedge6[] = {0, 2, 1, 3, 5, 4};
constexpr std::uint8_t wedge15[] = {0, 2, 1, 3, 5, 4, 8, 7, 6, 14, 13, 12, 9, 11, 10};
constexpr std::uint8_t hexahedron20[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                         10, 11, 16, 17, 18, 19, 12, 13, 14, 15};

struct ElementType {
    std::string_view name; ///< of shapes
    unsigned dimension;
    std::uint32_t nodes;
    CellType cell;
    bool onlyByName = false; ///< the number of nodes alone selects another element or a polygon
};

constexpr bool onlyByName = true;

constexpr ElementType elementTypes[] = {
    // of the result file
    {"BE2", 1, 2, {3}},
    {"BE3", 1, 3, {21}},
    {"TR3", 2, 3, {5}},
    {"TR6", 2, 6, {22}},
    {"QU4", 2, 4, {9}},
    {"QU8", 2, 8, {23}},
    {"TE4", 3, 4, {10}},
    {"TE10", 3, 10, {24}},
    {"PE6", 3, 6, {13, wedge6}},
    {"PE15", 3, 15, {26, wedge15}},
    {"HE8", 3, 8, {12}},
    {"HE20", 3, 20, {25, hexahedron20}},
    // of other mesh formats
    {"VERTEX1", 1, 1, {vtkVertex}},
    {"BE4", 1, 4, {35}, onlyByName},
    {"TR7", 2, 7, {34}},
    {"QU6", 2, 6, {30}, onlyByName},
    {"QU9", 2, 9, {28}},
    {"PIXEL4", 2, 4, {8}, onlyByName},
    {"PY5", 3, 5, {14}},
    {"PY13", 3, 13, {27}},
    {"PE12", 3, 12, {31}},
    {"PE18", 3, 18, {32}},
    {"HE24", 3, 24, {33}},
    {"HE27", 3, 27, {29}},
    {"PENTA_PRISM10", 3, 10, {15}, onlyByName},
    {"HEXA_PRISM12", 3, 12, {16}, onlyByName},
};

/// The start of a shape's name that may be the name of an element type.
std::string_view firstWord(std::string_view name) {
    return name.substr(0, name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"));
}

} // namespace

std::optional<CellType> cellType(std::string_view shapeName, unsigned dimension,
                                 std::uint64_t nodes) {
    const std::string_view word = firstWord(shapeName);
    const ElementType* byNodes = nullptr;
    for (const ElementType& type : elementTypes) {
        if (type.dimension != dimension || type.nodes != nodes) {
            continue;
        }
        if (type.name == word) {
            return type.cell;
        }
        byNodes = type.onlyByName ? byNodes : &type;
    }
    const bool isPolygon = dimension == 2 && word.substr(0, 2) == polygonPrefix;
    if (byNodes != nullptr && !isPolygon) {
        return byNodes->cell;
    }
    if (dimension == 1 && nodes > 1) {
        return CellType{polyLine};
    }
    return dimension == 2 && nodes > 2 ? std::optional(CellType{polygon}) : std::nullopt;
}

std::optional<std::uint32_t> nodesByName(std::string_view shapeName, unsigned dimension) {
    const std::string_view word = firstWord(shapeName);
    for (const ElementType& type : elementTypes) {
        if (type.name == word && type.dimension == dimension) {
            return type.nodes;
        }
    }
    return std::nullopt;
}

} // namespace MekVtu
