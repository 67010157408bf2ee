#include "tyr/mek/shape.hpp"

namespace TyrMek {

Shape::Shape(const std::string& shapeName) : Node(shapeName) {}

std::string Shape::GetType() const { return "Shape"; }
std::string Shape::GetVersion() const { return "0.2"; }

} // namespace TyrMek
