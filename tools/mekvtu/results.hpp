/// @file
/// The results of a part at one step as arrays of its file.
#pragma once

#include "mekreader/model.hpp"
#include "mekvtu/part.hpp"
#include "mekvtu/variables.hpp"
#include "mekvtu/vtufile.hpp"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace MekVtu {

/// Node results become arrays of the points, element results arrays of the cells, and all that is
/// neither, or has another number of rows, becomes field data. Values are kept bit for bit, but for
/// a displacement of three components ("Displacement" or "DISP") in a group that is turned or
/// scaled: it goes with its points.
class Results {
public:
    /// @param file must outlive the results
    explicit Results(MekReader::File& file) : file_(file) {}

    /// Adds what holds for `step`: results of this step, and those without a step where it has no
    /// such.
    void addTo(VtuFile& output, const Part& part, std::string_view step);

    /// One line for each variable that is neither of points nor of cells because of its rows.
    const std::set<std::string>& notes() const { return notes_; }

private:
    void add(VtuFile& output, const Part& part, const MekReader::Variable& variable);
    static void addToPoints(VtuFile& output, const Part& part, std::string_view name,
                            const Values& values);
    const Values& valuesOf(const MekReader::Variable& variable);

    MekReader::File& file_;
    std::map<const MekReader::Variable*, Values> withoutStep_; ///< by owner; used at every step
    Values ofStep_;
    std::set<std::string> notes_;
};

} // namespace MekVtu
