/// @file
/// The steps of a model and their times.
#pragma once

#include "mekreader/model.hpp"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace MekVtu {

/// Attributes that give the position of a step on the time axis, the first choice first.
constexpr std::array<const char*, 4> timeKeys = {"Time", "Frequency", "BucklingFactor", "Value"};

/// The attribute as a number; empty if it does not exist or is a string. A float gives the shortest
/// decimal number that rounds to it: 0.1 instead of 0.100000001.
std::optional<double> numberAt(const MekReader::AttributeList& attributes, const char* key);

struct TimeStep {
    std::string name{}; ///< empty if the file has no steps
    double time = 0;
};

struct Timeline {
    std::vector<TimeStep> steps{}; ///< by ascending time
    bool isByAttributes = false;   ///< false: the times are 0, 1, 2 ... in the order of the file
};

/// All steps of the variables of the file; a single step without a name if there are none.
///
/// The times come from the first of the attributes "Time", "Frequency", "BucklingFactor" and
/// "Value" that every step has as a number, with no two numbers equal. If there is none, steps are
/// numbered from 0 in the order in which they occur in the file.
Timeline timeline(const MekReader::File& file);

/// The shortest decimal form that parses to the same number, whatever the locale.
std::string formatNumber(double number);

} // namespace MekVtu
