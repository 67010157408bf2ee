#include "mekvtu/placement.hpp"

#include "mekreader/navigation.hpp"

#include <cmath>
#include <cstddef>

namespace MekVtu {

namespace {

using Matrix = std::array<std::array<double, 3>, 3>;

/// Rotation matrix of an axis and an angle, by Rodrigues' formula.
Matrix rotationMatrix(const std::array<float, 4>& axisAndAngle) {
    const double length = std::hypot(axisAndAngle[0], axisAndAngle[1], axisAndAngle[2]);
    if (length == 0 || axisAndAngle[3] == 0) {
        return {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    }
    const double x = axisAndAngle[0] / length;
    const double y = axisAndAngle[1] / length;
    const double z = axisAndAngle[2] / length;
    const double s = std::sin(axisAndAngle[3]);
    const double c = std::cos(axisAndAngle[3]);
    const double d = 1 - c;
    return {{{x * x * d + c, x * y * d - z * s, x * z * d + y * s},
             {y * x * d + z * s, y * y * d + c, y * z * d - x * s},
             {z * x * d - y * s, z * y * d + x * s, z * z * d + c}}};
}

} // namespace

Placement::Placement(const MekReader::Group& group) : linear_(rotationMatrix(group.rotation)) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            linear_[i][j] *= group.scale[j];
        }
        translation_[i] = group.translation[i];
    }
}

Placement Placement::after(const Placement& inner) const {
    Placement both;
    for (std::size_t i = 0; i < 3; ++i) {
        both.translation_[i] = translation_[i];
        for (std::size_t j = 0; j < 3; ++j) {
            both.translation_[i] += linear_[i][j] * inner.translation_[j];
            both.linear_[i][j] = 0;
            for (std::size_t k = 0; k < 3; ++k) {
                both.linear_[i][j] += linear_[i][k] * inner.linear_[k][j];
            }
        }
    }
    return both;
}

bool Placement::isIdentity() const {
    const Placement identity;
    return linear_ == identity.linear_ && translation_ == identity.translation_;
}

void Placement::apply(std::vector<float>& values, const std::array<double, 3>& shift) const {
    if (isIdentity()) {
        return;
    }
    for (std::size_t at = 0; at + 3 <= values.size(); at += 3) {
        const double x = values[at];
        const double y = values[at + 1];
        const double z = values[at + 2];
        for (std::size_t i = 0; i < 3; ++i) {
            values[at + i] = static_cast<float>(linear_[i][0] * x + linear_[i][1] * y +
                                                linear_[i][2] * z + shift[i]);
        }
    }
}

void Placement::placePoints(std::vector<float>& points) const { apply(points, translation_); }

void Placement::placeVectors(std::vector<float>& vectors) const { apply(vectors, {}); }

Placement placementAbove(const MekReader::File& file, const MekReader::Node& node) {
    Placement placement;
    for (const MekReader::Node* const ancestor : ancestorsOf(file, node)) {
        if (ancestor->group) {
            placement = Placement(*ancestor->group).after(placement);
        }
    }
    return placement;
}

} // namespace MekVtu
