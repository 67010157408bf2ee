/// @file
/// Smallest, largest and mean value of arrays.
#pragma once

#include "mekreader/model.hpp"

#include <cstdint>
#include <limits>
#include <map>
#include <ostream>

namespace MekInfo {

/// Of all values of an array, whatever their column. NaN are counted and otherwise ignored; without
/// other values the three numbers are NaN.
struct Statistics {
    double minimum = std::numeric_limits<double>::quiet_NaN();
    double maximum = std::numeric_limits<double>::quiet_NaN();
    double mean = std::numeric_limits<double>::quiet_NaN();
    std::uint64_t nanCount = 0;
};

/// Reads each array once, however many variables link to it.
class StatisticsReader {
public:
    /// @param file must outlive the object
    explicit StatisticsReader(MekReader::File& file) : file_(file) {}

    /// @throws MekReader::Error as `MekReader::File::floats`
    const Statistics& of(const MekReader::Variable& variable);

private:
    MekReader::File& file_;
    std::map<const MekReader::Variable*, Statistics> known_; ///< by owner
};

/// Prints an aligned table with one line for each variable and step.
/// @throws MekReader::Error an array is damaged
void printStatistics(std::ostream& out, MekReader::File& file);

} // namespace MekInfo
