/// @file
/// A model that uses every public operation. Its file has the same content on every system.
#pragma once

#include <tyr/mek2/model.hpp>

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace Testing {

using namespace Tyr::Mek2;

/// Row by row; each value is different in each dataset.
template <class T>
std::vector<T> valuesOf(unsigned int dataset, std::size_t rows, std::size_t columns) {
    std::vector<T> values(rows * columns);
    std::iota(values.begin(), values.end(), static_cast<T>(1000 * dataset));
    return values;
}

template <class T>
Array2d<T> table(unsigned int dataset, std::size_t rows, std::size_t columns) {
    std::vector<T> values = valuesOf<T>(dataset, rows, columns);
    return Array2d<T>(rows, columns, values);
}

/// Bits of floats that a conversion might change: not-a-numbers, infinities, -0, subnormal numbers
/// and the largest one.
inline const std::vector<std::uint32_t> specialFloats = {
    0x7F800001, 0xFFC12345, 0x7F800000, 0xFF800000, 0x80000000, 0x00000001, 0x807FFFFF, 0x7F7FFFFF};

// too long to be stored without an allocation
inline const std::string rootPath = "/a root with a long name";
inline const std::string groupName = "a group with a long name";
inline const std::string shapeName = "a shape with a long name";
inline const std::string bodyName = "body of long name \xCE\x9B";
inline const std::string skinName = "skin of long name";
inline const std::string resultName = "a result with a long name";

/// Runs one operation. The string names the content that it adds to the file: a node, or a node, a
/// slash and a variable. @return whether the operation returned
using Attempt = std::function<bool(const std::string&, const std::function<void()>&)>;

class Everything {
public:
    static constexpr unsigned int allResults = 260;

    explicit Everything(unsigned int results = allResults, Attempt attempt = runPlainly)
        : results_(results), attempt_(std::move(attempt)) {}

    /// @tparam Writer `Model`, or a class with its operations
    template <class Writer>
    void addTo(Writer& model) {
        addTree(model);
        if (skin_ != 0) {
            addArrays(model);
        }
    }

private:
    using Floats = std::vector<float>;
    using Paths = std::vector<std::string>;

    static bool runPlainly(const std::string&, const std::function<void()>& operation) {
        operation();
        return true;
    }

    static Attributes attributes() {
        Attributes attributes;
        attributes.set("unsigned", 4000000000U);
        attributes.set("int", -1);
        attributes.set("float", 1.5F);
        attributes.set("a string with a long key", std::string(300, 's'));
        attributes.set("", "line\nend \xC3\xA9\x1A");
        return attributes;
    }

    template <class Writer>
    void addTree(Writer& model) {
        const Paths paths = {rootPath + "/part of long name/",
                             rootPath + "/part of long name/" + bodyName,
                             rootPath + "/part of long name/" + skinName};
        const std::map<std::string, Attributes> others = {
            {rootPath + "/second part of long name/", attributes()}, {paths[1], Attributes()}};
        const Paths names = {rootPath.substr(1), "part of long name", skinName};
        NodeProperties placed;
        placed.set(PropertyType::Translation, Floats{0.1F, -2, 3e30F});
        placed.set(PropertyType::Rotation, Floats{0, 1, 0, 0.5F});
        placed.set(PropertyType::Scale, Floats{2, 2, 2});
        NodeProperties material;
        material.set(PropertyType::DiffuseColor, Floats{0.2F, 0.4F, 0.6F});
        material.set(PropertyType::SpecularColor, Floats{1, 2, 3, 4});
        material.set(PropertyType::EmissiveColor, Floats{0.1F, 0, 0});
        material.set(PropertyType::AmbientColor, Floats{8, 8, 8}); // without effect
        material.set(PropertyType::Transparency, 0.25F);
        material.set(PropertyType::AmbientIntensity, 0.5F);
        material.set(PropertyType::MaterialFlag, false);
        const auto add = [&](NodeType type, const std::string& name,
                             const NodeProperties& properties) {
            unsigned int id = 0;
            if (attempt_(name, [&] { id = model.addNode(type, name, attributes_); })) {
                attempt_("setNodeData", [&] { model.setNodeData(id, properties, attributes_); });
            }
        };
        add(NodeType::FlaggedRootGroup, rootPath.substr(1), NodeProperties());
        attempt_("components", [&] {
            const auto ids = model.addAssemblyComponents(paths);
            body_ = ids[1];
            skin_ = ids[2];
        });
        attempt_("components", [&] { model.addAssemblyComponents(others); });
        attempt_("setCurrentNodeId", [&] { model.setCurrentNodeId(1); });
        add(NodeType::Group, groupName, placed);
        attempt_("moveToParentNode", [&] { model.moveToParentNode(); });
        add(NodeType::Shape, shapeName, material);
        attempt_("getNodeId", [&] { model.getNodeId(paths[2] + '/' + skinName); });
        attempt_("getNodeId", [&] { model.getNodeId(names); });
    }

    template <class Writer, class... Arguments>
    void addArray(Writer& model, const std::string& content, const Arguments&... arguments) {
        attempt_(content, [&] { model.addArrayProperty(arguments...); });
    }

    template <class Writer>
    void addArrays(Writer& model) {
        const Step noStep;
        const Array1d<unsigned int> both({body_, skin_});
        addArray(model, skinName + "/Coordinates", DatasetType::Coordinates,
                 table<float>(1, 100, 3), both, noStep);
        addArray(model, bodyName + "/Connectivity", DatasetType::Connectivity2,
                 table<unsigned int>(2, 80, 1), body_, noStep, attributes_);
        Floats special(specialFloats.size());
        std::memcpy(special.data(), specialFloats.data(), special.size() * sizeof(float));
        StepList steps(2);
        steps.set(0, Step{"first step of the list", attributes_});
        steps.set(1, Step{"second step of the list", attributes_});
        addArray(model, skinName + "/special\x1Esecond step of the list", "special",
                 DatasetType::ResultA1, Array1d<float>(special), both, steps);
        for (unsigned int number = 0; number < results_; ++number) {
            Step step{"step of the number " + std::to_string(number)};
            step.attributes.set("Step", number);
            step.attributes.set("Category", "Vibration");
            addArray(model, skinName + '/' + resultName + '\x1E' + step.name, resultName,
                     DatasetType::ResultA6, table<float>(3 + number, 10, 6), both, step);
        }
    }

    unsigned int results_;
    Attempt attempt_;
    const Attributes attributes_ = attributes();
    unsigned int body_ = 0;
    unsigned int skin_ = 0;
};

} // namespace Testing
