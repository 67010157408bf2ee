#include "tyr/mek/material.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/recordlayout.hpp"
#include "tyr/qbf/encoding.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace TyrMek {

namespace {

constexpr std::size_t rgbChannels = 3;
constexpr float defaultAmbientIntensity = 0.2F;

void SetRgb(Material::Color& color, const std::vector<float>& values) {
    std::copy_n(values.begin(), rgbChannels, color.begin());
}

bool IsRgb(const std::vector<float>& values) { return values.size() == rgbChannels; }
bool IsRgbOrRgba(const std::vector<float>& values) {
    return IsRgb(values) || values.size() == rgbChannels + 1;
}

} // namespace

Material::Material() : Node(""), ambientColor() { SetAmbientIntensity(defaultAmbientIntensity); }

std::string Material::GetType() const { return "Material"; }
std::string Material::GetVersion() const { return "0.3"; }
std::string Material::GetMaterialVersion() const { return "0.3"; }

void Material::SetDiffuseColor(const std::vector<float>& values) {
    if (!IsRgbOrRgba(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    SetRgb(diffuseColor, values);
}

void Material::SetSpecularColor(const std::vector<float>& values) {
    if (!IsRgbOrRgba(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    SetRgb(specularColor, values);
}

void Material::SetEmissiveColor(const std::vector<float>& values) {
    if (!IsRgb(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    SetRgb(emissiveColor, values);
}

void Material::SetAmbientColor(const std::vector<float>& values) {
    if (!IsRgb(values)) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    SetRgb(ambientColor, values);
}

void Material::SetAmbientIntensity(float intensity) {
    std::transform(diffuseColor.begin(), diffuseColor.end(), ambientColor.begin(),
                   [intensity](float channel) { return intensity * channel; });
}

void Encode(TyrQbf::Block& block, const Material& material) {
    unsigned char* const record = block.Extend(MaterialRecord::size);
    const auto putColor = [record](std::uint32_t offset, const Material::Color& color) {
        unsigned char* target = record + offset;
        for (const float channel : color) {
            target = TyrQbf::EncodeTo(target, channel);
        }
    };
    TyrQbf::EncodeTo(record + MaterialRecord::recordSize, MaterialRecord::size);
    TyrQbf::EncodeTo(record + MaterialRecord::version, material.GetMaterialVersion());
    putColor(MaterialRecord::diffuseColor, material.diffuseColor);
    putColor(MaterialRecord::specularColor, material.specularColor);
    putColor(MaterialRecord::emissiveColor, material.emissiveColor);
    putColor(MaterialRecord::ambientColor, material.ambientColor);
    TyrQbf::EncodeTo(record + MaterialRecord::transparency, material.transparency);
    TyrQbf::EncodeTo(record + MaterialRecord::shininess, material.shininess);
    TyrQbf::EncodeTo(record + MaterialRecord::materialFlag, material.materialFlag);
}

} // namespace TyrMek
