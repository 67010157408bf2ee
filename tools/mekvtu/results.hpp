/// @file
/// Adds the results of a mesh part at one step to its file.
#pragma once

#include "mekreader/model.hpp"
#include "mekreader/variables.hpp"
#include "mekvtu/meshpart.hpp"
#include "mekvtu/vtufile.hpp"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace MekVtu {

/// Results of nodes become point data, results of elements become cell data. All other variables,
/// and those with another number of rows, become field data. Values are copied bit for bit, with
/// one exception: a displacement of three components ("Displacement" or "DISP") is rotated and
/// scaled like the points.
class Results {
public:
    /// @param file must outlive the object
    explicit Results(MekReader::File& file) : file_(file) {}

    /// Adds the results of `step`, and each result without a step that `step` does not replace.
    void addTo(VtuFile& output, const MeshPart& part, std::string_view step);

    /// One line for each result that became field data because of its number of rows.
    const std::set<std::string>& notes() const { return notes_; }

private:
    void add(VtuFile& output, const MeshPart& part, const MekReader::Variable& variable);
    static void addToPoints(VtuFile& output, const MeshPart& part, std::string_view name,
                            const MekReader::Values& values);
    const MekReader::Values& valuesOf(const MekReader::Variable& variable);

    MekReader::File& file_;
    std::map<const MekReader::Variable*, MekReader::Values>
        withoutStep_; ///< by owner; kept for all steps
    MekReader::Values ofStep_;
    std::set<std::string> notes_;
};

} // namespace MekVtu
