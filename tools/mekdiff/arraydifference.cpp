#include "mekdiff/arraydifference.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace MekDiff {

namespace {

double numberOf(std::uint32_t word, bool isFloat) {
    if (!isFloat) {
        return word;
    }
    float value = 0;
    std::memcpy(&value, &word, sizeof value);
    return double{value};
}

double distance(double left, double right) {
    const double difference = std::fabs(left - right);
    return std::isnan(difference) ? std::numeric_limits<double>::infinity() : difference;
}

} // namespace

bool Tolerance::isEqual(double left, double right) const {
    if (left == right || (std::isnan(left) && std::isnan(right))) {
        return true;
    }
    const double difference = distance(left, right);
    const double magnitude = std::max(std::fabs(left), std::fabs(right));
    return std::isfinite(difference) &&
           (difference <= absolute || difference <= relative * magnitude);
}

ArrayDifference differenceOf(const MekReader::Values& left, const MekReader::Values& right,
                             const Tolerance& tolerance) {
    ArrayDifference result;
    for (std::size_t i = 0; i < left.words.size(); ++i) {
        if (left.words[i] == right.words[i]) {
            continue;
        }
        const double first = numberOf(left.words[i], left.isFloat);
        const double second = numberOf(right.words[i], right.isFloat);
        if (left.isFloat && tolerance.isEqual(first, second)) {
            continue;
        }
        const double difference = distance(first, second);
        if (result.count++ == 0 || difference > result.largest) {
            result = {result.count, difference, i, first, second};
        }
    }
    return result;
}

} // namespace MekDiff
