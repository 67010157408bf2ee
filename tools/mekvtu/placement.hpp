/// @file
/// Where a group stands: translation, rotation and scale of all groups above a shape in one.
#pragma once

#include "mekreader/model.hpp"

#include <array>
#include <vector>

namespace MekVtu {

/// An affine map, in the order scale, rotation, translation for each group, the innermost first.
///
/// The four values of a rotation are an axis and an angle in radians, right-handed: only then is
/// the value that every new group has, 0 0 1 0, no rotation. The axis need not have the length 1;
/// an axis of length 0 turns nothing.
class Placement {
public:
    /// Leaves every point where it is.
    Placement() = default;

    explicit Placement(const MekReader::Group& group);

    /// First `inner`, then this.
    Placement after(const Placement& inner) const;

    bool isIdentity() const;

    /// Places points, three values each. Values stay as they are, bit for bit, where the placement
    /// leaves every point at its place.
    void placePoints(std::vector<float>& points) const;

    /// Turns and scales vectors, three values each.
    void placeVectors(std::vector<float>& vectors) const;

private:
    void apply(std::vector<float>& values, const std::array<double, 3>& shift) const;

    std::array<std::array<double, 3>, 3> linear_{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    std::array<double, 3> translation_{};
};

/// The placement of all groups above `node`.
/// @throws MekReader::Error the node's ancestors do not end at the root
Placement placementAbove(const MekReader::File& file, const MekReader::Node& node);

} // namespace MekVtu
