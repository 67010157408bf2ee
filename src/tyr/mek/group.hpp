/// @file
/// A group: an element of the assembly, with a placement.
#pragma once

#include "tyr/mek/attributelist.hpp"
#include "tyr/mek/node.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace TyrMek {

class Group : public Node {
public:
    Group(const std::string& groupName, const TyrUtil::AttributeList& groupAttributes);

    std::string GetType() const override;
    std::string GetVersion() const override;

    /// @throws InvalidArguments "invalid array size": not 3 values; nothing is changed
    void SetTranslation(const std::vector<float>& values);

    /// @throws InvalidArguments "invalid array size": not 4 values; nothing is changed
    void SetRotation(const std::vector<float>& values);

    /// @throws InvalidArguments "invalid array size": not 3 values; nothing is changed
    void SetScale(const std::vector<float>& values);

    /// Puts translation, rotation and scale, the attributes, and `rootFlag`; see `GroupRecord`.
    void WriteQb(TyrQbf::QbFile& file, const std::string& lightName,
                 const std::string& attributesName);

    std::array<float, 3> translation = {0, 0, 0};
    std::array<float, 4> rotation = {0, 0, 1, 0};
    std::array<float, 3> scale = {1, 1, 1};
    TyrUtil::AttributeList attributes;
    std::uint8_t rootFlag = 0;
};

} // namespace TyrMek
