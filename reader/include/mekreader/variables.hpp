/// @file
/// Names, types and values of variables.
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

namespace MekReader {

/// The name of a quantity and of a step. A variable without a step belongs to all steps.
struct VariableName {
    std::string_view result;
    std::string_view step;
};

/// Splits the name of a variable at the first byte 1E.
inline VariableName splitName(std::string_view name) {
    constexpr char stepSeparator = 0x1E;
    const std::size_t end = name.find(stepSeparator);
    return end == std::string_view::npos ? VariableName{name, {}}
                                         : VariableName{name.substr(0, end), name.substr(end + 1)};
}

/// Variable types of the file format.
namespace VariableType {
constexpr std::uint32_t coordinates = 1;
constexpr std::uint32_t firstConnectivity = 4; ///< dimension 1; 5 and 6: dimension 2 and 3
constexpr std::uint32_t lastConnectivity = 6;
constexpr std::uint32_t polylength = 9;
constexpr std::uint32_t firstNodeResult = 12;
constexpr std::uint32_t lastNodeResult = 15;
constexpr std::uint32_t firstElementResult = 16;
constexpr std::uint32_t lastElementResult = 19;
} // namespace VariableType

inline bool isCoordinates(const Variable& variable) {
    return variable.type == VariableType::coordinates;
}

inline bool isPolylength(const Variable& variable) {
    return variable.type == VariableType::polylength;
}

/// "Part Elements" has the same variable types; only the name differs.
inline bool isConnectivity(const Variable& variable) {
    return variable.type >= VariableType::firstConnectivity &&
           variable.type <= VariableType::lastConnectivity &&
           splitName(variable.name).result != "Part Elements";
}

inline bool isNodeResult(const Variable& variable) {
    return variable.type >= VariableType::firstNodeResult &&
           variable.type <= VariableType::lastNodeResult;
}

inline bool isElementResult(const Variable& variable) {
    return variable.type >= VariableType::firstElementResult &&
           variable.type <= VariableType::lastElementResult;
}

/// The values of a variable, row by row, with their bits unchanged.
struct Values {
    std::vector<std::uint32_t> words{};
    unsigned width = 1;
    bool isFloat = false;

    std::uint64_t rows() const { return words.size() / width; }
};

/// Reads the values of a variable or of its owner.
/// @throws Error as `File::words`
inline Values readValues(File& file, const Variable& variable) {
    const Variable& owner = file.owner(variable);
    return {file.words(owner), owner.width, owner.elementType == Variable::floatElements};
}

} // namespace MekReader
