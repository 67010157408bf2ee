/// @file
/// A model with everything in it, the same on every system.
#pragma once

#include <tyr/mek2/model.hpp>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace Testing {

/// Values that tell dataset, row and column, row by row.
template <class T>
std::vector<T> valuesOf(unsigned int dataset, std::size_t rows, std::size_t columns) {
    std::vector<T> values;
    for (std::size_t i = 0; i < rows * columns; ++i) {
        values.push_back(static_cast<T>(1000 * dataset + 10 * (i / columns) + i % columns));
    }
    return values;
}

/// Bits that a floating-point unit might change on their way: not-a-numbers, infinities, zero,
/// subnormal and largest numbers.
inline const std::vector<std::uint32_t> specialFloats = {
    0x7F800001, 0xFFC12345, 0x7F800000, 0xFF800000, 0x80000000, 0x00000001, 0x807FFFFF, 0x7F7FFFFF};

class Everything {
public:
    static constexpr unsigned int resultSteps = 260;

    void addTo(Tyr::Mek2::Model& model) {
        addTree(model);
        addArrays(model);
    }

    unsigned int body = 0;
    unsigned int skin = 0;

private:
    using PropertyType = Tyr::Mek2::PropertyType;
    using DatasetType = Tyr::Mek2::DatasetType;
    using Floats = std::vector<float>;

    void addTree(Tyr::Mek2::Model& model) {
        Tyr::Mek2::Attributes attributes;
        attributes.set("unsigned", 4000000000U);
        attributes.set("int", -1);
        attributes.set("float", 1.5F);
        attributes.set("text", std::string(300, 't'));
        attributes.set("", "line\nend \xC3\xA9\x1A");
        model.addNode(Tyr::Mek2::NodeType::FlaggedRootGroup, "root", attributes);
        const auto ids = model.addAssemblyComponents(std::vector<std::string>{
            "/root/\xCE\x9B/", "/root/\xCE\x9B/body", "/root/\xCE\x9B/skin"});
        body = ids[1];
        skin = ids[2];
        Tyr::Mek2::NodeProperties placement;
        placement.set(PropertyType::Translation, Floats{0.1F, -2, 3e30F});
        placement.set(PropertyType::Rotation, Floats{0, 1, 0, 0.5F});
        placement.set(PropertyType::Scale, Floats{2, 2, 2});
        model.setNodeData(ids[0], placement);
        Tyr::Mek2::NodeProperties look;
        look.set(PropertyType::DiffuseColor, Floats{0.2F, 0.4F, 0.6F});
        look.set(PropertyType::SpecularColor, Floats{1, 2, 3, 4});
        look.set(PropertyType::EmissiveColor, Floats{0.1F, 0, 0});
        look.set(PropertyType::AmbientColor, Floats{8, 8, 8}); // follows from the diffuse one
        look.set(PropertyType::Transparency, 0.25F);
        look.set(PropertyType::AmbientIntensity, 0.5F);
        look.set(PropertyType::MaterialFlag, false);
        model.setNodeData(body, look);
    }

    template <class T>
    static Tyr::Mek2::Array2d<T> table(unsigned int dataset, std::size_t rows,
                                       std::size_t columns) {
        std::vector<T> values = valuesOf<T>(dataset, rows, columns);
        return Tyr::Mek2::Array2d<T>(rows, columns, values);
    }

    void addArrays(Tyr::Mek2::Model& model) const {
        const Tyr::Mek2::Step noStep;
        const Tyr::Mek2::Array1d<unsigned int> both({body, skin});
        model.addArrayProperty(DatasetType::Coordinates, table<float>(1, 100, 3), both, noStep);
        model.addArrayProperty(DatasetType::Connectivity2, table<unsigned int>(2, 80, 1), body,
                               noStep);
        Floats special(specialFloats.size());
        std::memcpy(special.data(), specialFloats.data(), special.size() * sizeof(float));
        model.addArrayProperty("special", DatasetType::ResultA1, Tyr::Mek2::Array1d<float>(special),
                               skin, noStep);
        for (unsigned int number = 0; number < resultSteps; ++number) {
            Tyr::Mek2::Step step{std::to_string(number)};
            step.attributes.set("Step", number);
            step.attributes.set("Category", "Vibration");
            model.addArrayProperty("stress", DatasetType::ResultA6, table<float>(3 + number, 5, 6),
                                   both, step);
        }
    }
};

} // namespace Testing
