/// Writes a model with every operation and every dataset type. same_model.c, same_model.f90 and
/// same_model.py write the same model in their languages.
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/threads.hpp>

#include <iostream>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Floats = std::vector<float>;

const std::string root = "same model \xCE\x9B";
constexpr std::size_t pointCount = 20000; // in more than one chunk

struct Ids {
    unsigned int body;
    unsigned int skin;
};

Attributes attributes() {
    Attributes attributes;
    attributes.set("unsigned", 4000000000U);
    attributes.set("int", -1);
    attributes.set("float", 1.5F);
    attributes.set("text", "\xC3\xA9t\xC3\xA9");
    attributes.set("", "");
    return attributes;
}

Ids addTree(Model& model) {
    const std::string part = "/" + root + "/part/";
    model.addNode(NodeType::FlaggedRootGroup, root, attributes());
    const auto ids = model.addAssemblyComponents({part, part + "body", part + "skin"});
    model.addAssemblyComponents(
        std::map<std::string, Attributes>{{"|" + root + "|second|", attributes()},
                                          {"|" + root + "|part|body", Attributes()}},
        "|");

    NodeProperties placement;
    placement.set(PropertyType::Translation, Floats{1, 2, 3});
    placement.set(PropertyType::Rotation, Floats{0, 0, 1, 0.5F});
    placement.set(PropertyType::Scale, Floats{2, 2, 4});
    Attributes side;
    side.set("side", "left");
    model.setCurrentNodeId(1);
    model.setNodeData(model.addNode(NodeType::Group, "placed"), placement, side);

    NodeProperties material;
    material.set(PropertyType::DiffuseColor, Floats{0.25F, 0.5F, 0.75F});
    material.set(PropertyType::SpecularColor, Floats{1, 0.5F, 0.25F, 0.125F});
    material.set(PropertyType::EmissiveColor, Floats{0.125F, 0, 0});
    material.set(PropertyType::AmbientColor, Floats{0.5F, 0.5F, 0.5F});
    material.set(PropertyType::Transparency, 0.25F);
    material.set(PropertyType::AmbientIntensity, 0.5F);
    material.set(PropertyType::Shininess, 0.5F);
    material.set(PropertyType::MaterialFlag, true);
    model.moveToParentNode();
    model.setNodeData(model.addNode(NodeType::Shape, "coloured"), material);
    return {model.getNodeId(part + "body/body"), model.getNodeId({root, "part", "skin"}) + 1};
}

void addMesh(Model& model, const Ids& ids) {
    Array2d<float> points(pointCount, 3);
    Array1d<unsigned int> numbers(pointCount);
    for (std::size_t i = 0; i < pointCount; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            points(i, j) = 0.5F * static_cast<float>(i) + 0.25F * static_cast<float>(j);
        }
        numbers[i] = static_cast<unsigned int>(i);
    }
    const Array1d<unsigned int> both{ids.body, ids.skin};
    model.addArrayProperty(DatasetType::Coordinates, points, both, Step{});
    model.addArrayProperty(DatasetType::Connectivity2, Array1d<unsigned int>(numbers.data(), 80),
                           ids.body, Step{});
    model.addArrayProperty(DatasetType::Polylength2, Array1d<unsigned int>(10, 8U), ids.body,
                           Step{});
    model.addArrayProperty(DatasetType::NodeIds, numbers, both, Step{});
}

void addKinds(Model& model, const Ids& ids) {
    StepList steps(2);
    steps.set(0, Step{"first"});
    Step second{"second"};
    second.attributes.set("Time", 0.5F);
    steps.set(1, second);
    const std::size_t widths[] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 3, 1, 3, 6, 6, 1, 3,
                                  6, 6, 1, 3, 6, 6, 1, 1, 3, 6, 6, 1, 1, 3, 6};
    for (int kind = 0; kind <= 30; ++kind) {
        const auto type = static_cast<DatasetType>(kind);
        const std::string name = "kind " + std::to_string(kind);
        if (kind < 9 || kind == 27 || kind == 28) {
            model.addArrayProperty(name, type, Array1d<unsigned int>{7, 8, 9}, ids.skin, steps);
            continue;
        }
        const std::size_t width = widths[kind];
        Array2d<float> values(3, width);
        for (std::size_t i = 0; i < values.size(); ++i) {
            values.data()[i] =
                static_cast<float>(i / width) + 0.125F * static_cast<float>(i % width);
        }
        model.addArrayProperty(name, type, values, ids.skin, steps);
    }
}

void addResults(Model& model, const Ids& ids) {
    Attributes vibration;
    vibration.set("Category", "Vibration");
    vibration.set("Frequency", 12.5F);
    const Array2d<float> shape(2, 3, {1, 2, 3, 4, 5, 6});
    model.addArrayProperty("mode", DatasetType::ResultA3, shape, ids.body, Step{"mode 1"},
                           vibration);
    const Array1d<float> narrowed{static_cast<float>(0.1), static_cast<float>(0.2), 1e30F};
    const Array1d<unsigned int> both{ids.body, ids.skin};
    model.addArrayProperty("T", DatasetType::ResultA1, narrowed, both, Step{"1"});
    model.addArrayProperty("T", DatasetType::ResultA1, narrowed, ids.skin, Step{"1"}); // was a link
    model.addArrayProperty("counts", DatasetType::ResultB1,
                           Array1d<unsigned int>{2000000000, 2000000001}, ids.skin, Step{"1"});
}

void write(const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "same model";
    options.toolVersion = "1.2";
    options.relinkReplaced = true;
    options.journal = true;
    options.replaceWhenComplete = true;
    options.parallelFor = parallelForThreads(2);
    options.blockSize = 100000;
    Model model;
    model.saveTo(path, options);
    const Ids ids = addTree(model);
    addMesh(model, ids);
    model.checkpoint();
    addKinds(model, ids);
    model.checkpoint(Durability::Device);
    addResults(model, ids);
    model.close();
}

} // namespace

int main(int argc, char** argv) try {
    write(argc > 1 ? argv[1] : "same_model.mek");
} catch (const std::exception& error) {
    std::cerr << "same_model: " << error.what() << '\n';
    return 1;
}
