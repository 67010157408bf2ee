// An assembly from a list of paths, with placements, materials and attributes.
//
// Usage: assembly_paths [FILE]
#include <tyr/mek2/model.hpp>

#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <vector>

using namespace Tyr::Mek2;

namespace {

Attributes material(const char* name, float mass) {
    Attributes attributes;
    attributes.set("Material", name);
    attributes.set("Mass", mass);
    return attributes;
}

NodeProperties placement(const std::vector<float>& translation, const std::vector<float>& scale) {
    NodeProperties properties;
    properties.set(PropertyType::Translation, translation);
    properties.set(PropertyType::Scale, scale);
    return properties;
}

// A path that ends in the separator leads to a group and may have attributes; any other path leads
// to a shape. Missing groups are added. The ids are in the order of the map.
std::map<std::string, unsigned int> addParts(Model& model) {
    const std::map<std::string, Attributes> paths = {
        {"/table/board/", material("oak", 12.5F)},       {"/table/board/plate", {}},
        {"/table/legs/front/", material("steel", 1.5F)}, {"/table/legs/front/tube", {}},
        {"/table/legs/back/", material("steel", 1.5F)},  {"/table/legs/back/tube", {}}};
    const Array1d<unsigned int> ids = model.addAssemblyComponents(paths);
    std::map<std::string, unsigned int> idOfPath;
    std::size_t index = 0;
    for (const auto& [path, attributes] : paths) {
        idOfPath[path] = ids[index++];
    }
    return idOfPath;
}

// All three shapes have the same mesh, a cube.
void addCube(Model& model, const Array1d<unsigned int>& shapes) {
    const Array2d<float> corners(
        8, 3, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1});
    const Array1d<unsigned int> nodes{0, 1, 2, 3, 4, 5, 6, 7};
    model.addArrayProperty(DatasetType::Coordinates, corners, shapes, Step{});
    model.addArrayProperty(DatasetType::Connectivity2, nodes, shapes, Step{});
    model.addArrayProperty(DatasetType::Polylength2, Array1d<unsigned int>{8}, shapes, Step{});
}

void setMaterials(Model& model, const std::map<std::string, unsigned int>& ids) {
    NodeProperties wood;
    wood.set(PropertyType::DiffuseColor, std::vector<float>{0.6F, 0.4F, 0.2F});
    wood.set(PropertyType::Shininess, 0.1F);
    model.setNodeData(ids.at("/table/board/plate"), wood);

    NodeProperties metal;
    metal.set(PropertyType::DiffuseColor, std::vector<float>{0.7F, 0.7F, 0.75F});
    metal.set(PropertyType::SpecularColor, std::vector<float>{1, 1, 1});
    metal.set(PropertyType::AmbientIntensity, 0.5F); // factor of the diffuse colour
    model.setNodeData(ids.at("/table/legs/front/tube"), metal);
    model.setNodeData(ids.at("/table/legs/back/tube"), metal);
}

void write(const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "assembly_paths";
    Model model;
    model.saveTo(path, options);

    const std::map<std::string, unsigned int> ids = addParts(model);
    addCube(model, {ids.at("/table/board/plate"), ids.at("/table/legs/front/tube"),
                    ids.at("/table/legs/back/tube")});

    // The placement of a group applies to all groups below it: both legs move with "/table/legs".
    model.setNodeData(ids.at("/table/board/"), placement({0, 0, 0.7F}, {1.2F, 0.6F, 0.05F}));
    model.setNodeData(ids.at("/table/legs/front/"), placement({0, 0, 0}, {0.1F, 0.6F, 0.7F}));
    model.setNodeData(ids.at("/table/legs/back/"), placement({1, 0, 0}, {0.1F, 0.6F, 0.7F}));
    model.setNodeData(model.getNodeId("/table/legs"), placement({0.05F, 0, 0}, {1, 1, 1}));
    setMaterials(model, ids);

    // Attributes can be set at any time before `close`.
    Attributes about;
    about.set("Drawing", "T-100");
    about.set("Revision", 3U);
    model.setNodeData(model.getNodeId("/table"), NodeProperties{}, about);
    model.close();
}

} // namespace

int main(int argc, char** argv) {
    try {
        write(argc > 1 ? argv[1] : "assembly_paths.mek");
    } catch (const std::exception& error) {
        std::cerr << "assembly_paths: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
