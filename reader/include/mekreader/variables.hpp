/// @file
/// Names, types and values of variables.
///
/// @code
/// #include <mekreader/variables.hpp>
///
/// #include <iostream>
///
/// int main(int argc, char** argv) {
///     for (int i = 1; i < argc; ++i) {
///         const MekReader::File file(argv[i]);
///         for (const MekReader::Node& node : file.nodes()) {
///             for (const MekReader::Variable& variable : node.variables) {
///                 const MekReader::VariableName name = MekReader::splitName(variable.name);
///                 std::cout << name.quantity << " at " << name.step.value_or("all steps") << '\n';
///             }
///         }
///     }
/// }
/// @endcode
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace MekReader {

/// The parts of the name of a variable.
struct VariableName {
    std::string_view quantity;            ///< such as "Stress"
    std::optional<std::string_view> step; ///< none if the name has no step
};

/// Splits the name of a variable at the first byte 1E.
/// @param name must outlive the result
inline VariableName splitName(std::string_view name) {
    constexpr char stepSeparator = 0x1E;
    const std::size_t end = name.find(stepSeparator);
    return end == std::string_view::npos ? VariableName{name, std::nullopt}
                                         : VariableName{name.substr(0, end), name.substr(end + 1)};
}

/// The step in the name of a variable; empty for none.
inline std::string_view stepOf(std::string_view name) { return splitName(name).step.value_or(""); }

/// Variable types of the file format.
namespace VariableType {
constexpr std::uint32_t coordinates = 1;         ///< x, y, z of each node
constexpr std::uint32_t firstConnectivity = 4;   ///< dimension 1; 5 and 6: dimension 2 and 3
constexpr std::uint32_t lastConnectivity = 6;    ///< of elements of dimension 3
constexpr std::uint32_t polylength = 9;          ///< number of nodes of each element
constexpr std::uint32_t firstNodeResult = 12;    ///< one row for each node
constexpr std::uint32_t lastNodeResult = 15;     ///< the same, with more columns
constexpr std::uint32_t firstElementResult = 16; ///< one row for each element
constexpr std::uint32_t lastElementResult = 19;  ///< the same, with more columns
} // namespace VariableType

/// Whether the array has coordinates of nodes.
inline bool isCoordinates(const Variable& variable) {
    return variable.type == VariableType::coordinates;
}

/// Whether the array gives the number of nodes of each element.
inline bool isPolylength(const Variable& variable) {
    return variable.type == VariableType::polylength;
}

/// Whether the array is connectivity. "Part Elements" have the same types; only the name differs.
inline bool isConnectivity(const Variable& variable) {
    return variable.type >= VariableType::firstConnectivity &&
           variable.type <= VariableType::lastConnectivity &&
           splitName(variable.name).quantity != "Part Elements";
}

/// Whether the array has a row for each node.
inline bool isNodeResult(const Variable& variable) {
    return variable.type >= VariableType::firstNodeResult &&
           variable.type <= VariableType::lastNodeResult;
}

/// Whether the array has a row for each element.
inline bool isElementResult(const Variable& variable) {
    return variable.type >= VariableType::firstElementResult &&
           variable.type <= VariableType::lastElementResult;
}

/// The values of a variable, row by row, with their bits unchanged.
struct Values {
    std::vector<std::uint32_t> words{}; ///< row by row
    unsigned width = 1;                 ///< values per row
    bool isFloat = false;               ///< whether the bits are those of floats

    /// Number of rows.
    std::uint64_t rows() const { return words.size() / width; }
};

/// Reads the values of a variable or of its owner.
/// @throws Error as `File::words`
inline Values readValues(File& file, const Variable& variable) {
    const Variable& owner = file.owner(variable);
    return {file.words(owner), owner.width, owner.elementType == Variable::floatElements};
}

} // namespace MekReader
