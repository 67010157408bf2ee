/// @file
/// The combined translation, rotation and scale of all groups above a node.
#pragma once

#include "mekreader/model.hpp"

#include <array>
#include <vector>

namespace MekVtu {

/// An affine map. Each group applies its scale, rotation and translation, in this order; the
/// innermost group comes first.
///
/// The four values of a rotation are the axis x, y, z and the angle in radians, right-handed. The
/// axis need not have length 1; an axis of length 0 means no rotation. A new group has 0 0 1 0,
/// which is no rotation.
class Placement {
public:
    /// The identity.
    Placement() = default;

    explicit Placement(const MekReader::Group& group);

    /// The map that applies `inner` first, then this one.
    Placement after(const Placement& inner) const;

    bool isIdentity() const;

    /// Transforms points, three values each. The identity does not change any bit.
    void placePoints(std::vector<float>& points) const;

    /// Rotates and scales vectors, three values each, without translation.
    void placeVectors(std::vector<float>& vectors) const;

private:
    void apply(std::vector<float>& values, const std::array<double, 3>& shift) const;

    std::array<std::array<double, 3>, 3> linear_{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    std::array<double, 3> translation_{};
};

/// The placement of all groups above `node`.
/// @throws MekReader::Error a parent does not have a smaller id than its child
Placement placementAbove(const MekReader::File& file, const MekReader::Node& node);

} // namespace MekVtu
