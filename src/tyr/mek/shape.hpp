/// @file
/// A shape: a geometry with a material.
#pragma once

#include "tyr/mek/material.hpp"
#include "tyr/mek/node.hpp"

#include <string>

namespace TyrMek {

/// Its mesh is the geometry of the same name that the tree holds as its child; a root shape has
/// none.
class Shape : public Node {
public:
    explicit Shape(const std::string& shapeName);

    std::string GetType() const override;
    std::string GetVersion() const override;

    Material material;
};

} // namespace TyrMek
