/// @file
/// The steps of a container on a line of time.
#pragma once

#include "mekreader/model.hpp"

#include <string>
#include <vector>

namespace MekVtu {

struct TimeStep {
    std::string name{}; ///< empty: the file has no steps
    double time = 0;
};

struct Timeline {
    std::vector<TimeStep> steps{}; ///< by ascending time
    bool isByAttributes = false;   ///< false: the times are numbers in the order of the file
};

/// All steps that variables of the file name; one without a name if there are none.
///
/// The time is the number that the attributes give as "Time", for all steps alike, or as
/// "Frequency", "BucklingFactor" or "Value". Where a step has none of it, or two have the same,
/// steps are numbered from 0 in the order in which the file names them.
Timeline timeline(const MekReader::File& file);

/// The shortest text that is read as the same number, whatever the locale.
std::string numberText(double number);

} // namespace MekVtu
