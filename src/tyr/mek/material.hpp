/// @file
/// The material of a shape.
#pragma once

#include "tyr/mek/node.hpp"
#include "tyr/qbf/block.hpp"

#include <array>
#include <string>
#include <vector>

namespace TyrMek {

/// The colours and shininess of a shape, which contains it; a material is never a node of the tree.
///
/// Colours have four channels: red, green, blue, and a fourth, which only `SetAmbientIntensity`
/// changes.
class Material : public Node {
public:
    using Color = std::array<float, 4>;

    Material();

    std::string GetType() const override;
    std::string GetVersion() const override;
    virtual std::string GetMaterialVersion() const;

    /// Takes the first three of 3 or 4 values.
    /// @throws InvalidArguments "invalid array size": nothing is changed
    void SetDiffuseColor(const std::vector<float>& values);

    /// Takes the first three of 3 or 4 values.
    /// @throws InvalidArguments "invalid array size": nothing is changed
    void SetSpecularColor(const std::vector<float>& values);

    /// @throws InvalidArguments "invalid array size": not 3 values; nothing is changed
    void SetEmissiveColor(const std::vector<float>& values);

    /// @throws InvalidArguments "invalid array size": not 3 values; nothing is changed
    void SetAmbientColor(const std::vector<float>& values);

    /// All four channels of `ambientColor` := intensity x diffuse colour of this moment.
    void SetAmbientIntensity(float intensity);

    Color diffuseColor = {0.8F, 0.8F, 0.8F, 1};
    Color specularColor = {0, 0, 0, 1};
    Color emissiveColor = {0, 0, 0, 1};
    Color ambientColor; ///< a fifth of the diffuse colour
    float transparency = 0;
    float shininess = 0.2F;
    bool materialFlag = true;
};

/// Appends a `MaterialRecord`.
void Encode(TyrQbf::Block& block, const Material& material);

} // namespace TyrMek
