#include "tyr/mek/material.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/encoding.hpp"

#include <algorithm>
#include <cstddef>

namespace TyrMek {

namespace {

constexpr std::size_t rgbChannels = 3;
constexpr float defaultAmbientIntensity = 0.2F;

void setRgb(Material::Color& color, const std::vector<float>& values) {
    std::copy_n(values.begin(), rgbChannels, color.begin());
}

bool isRgb(const std::vector<float>& values) { return values.size() == rgbChannels; }
bool isRgbOrRgba(const std::vector<float>& values) {
    return isRgb(values) || values.size() == rgbChannels + 1;
}

} // namespace

Material::Material() : Node(""), ambientColor() { SetAmbientIntensity(defaultAmbientIntensity); }

std::string Material::GetType() const { return "Material"; }
std::string Material::GetVersion() const { return "0.3"; }
std::string Material::GetMaterialVersion() const { return "0.3"; }

void Material::SetDiffuseColor(const std::vector<float>& values) {
    if (!isRgbOrRgba(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    setRgb(diffuseColor, values);
}

void Material::SetSpecularColor(const std::vector<float>& values) {
    if (!isRgbOrRgba(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    setRgb(specularColor, values);
}

void Material::SetEmissiveColor(const std::vector<float>& values) {
    if (!isRgb(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    setRgb(emissiveColor, values);
}

void Material::SetAmbientColor(const std::vector<float>& values) {
    if (!isRgb(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    setRgb(ambientColor, values);
}

void Material::SetAmbientIntensity(float intensity) {
    std::transform(diffuseColor.begin(), diffuseColor.end(), ambientColor.begin(),
                   [intensity](float channel) { return intensity * channel; });
}

void Encode(TyrQbf::Block& block, const Material& material) {
    TyrQbf::EncodeSizedRecord(block, material.GetMaterialVersion(), [&](TyrQbf::Block& fields) {
        for (const Material::Color* color : {&material.diffuseColor, &material.specularColor,
                                             &material.emissiveColor, &material.ambientColor}) {
            for (const float channel : *color) {
                TyrQbf::Encode(fields, channel);
            }
        }
        TyrQbf::Encode(fields, material.transparency);
        TyrQbf::Encode(fields, material.shininess);
        TyrQbf::Encode(fields, material.materialFlag);
    });
}

} // namespace TyrMek
