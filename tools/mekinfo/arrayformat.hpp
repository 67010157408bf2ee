/// @file
/// Arrays as text and as bytes, for scripts and spreadsheets.
#pragma once

#include "mekreader/model.hpp"

#include <functional>
#include <string_view>

namespace MekInfo {

enum class ArrayFormat {
    Csv, ///< one line for each row, values separated by commas, without a header
    Npy, ///< NumPy's file format, version 1.0: https://numpy.org/doc/stable/reference/generated/
         ///< numpy.lib.format.html
    Raw  ///< row by row, little-endian
};

using ByteSink = std::function<void(std::string_view)>;

/// Passes the array of a variable to `sink` in parts. Links are followed. In CSV each float is the
/// shortest decimal number that rounds to it; every NaN is `nan`. The other formats keep all bits.
/// @throws MekReader::Error as `MekReader::File::words`, or the element type is unknown
void formatArray(MekReader::File& file, const MekReader::Variable& variable, ArrayFormat format,
                 const ByteSink& sink);

} // namespace MekInfo
