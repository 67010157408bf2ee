// Writes one square plate with a temperature field for three moments.
#include <tyr/mek2/model.hpp>

#include <exception>
#include <iostream>

using namespace Tyr::Mek2;

int main() try {
    Model model;
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "write_model";
    model.saveTo("plate.mek", options);

    model.addNode(NodeType::RootGroup, "plate");
    const unsigned int mesh = model.addNode(NodeType::Shape, "surface"); // id of its geometry

    const Array2d<float> corners(4, 3, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
    model.addArrayProperty(DatasetType::Coordinates, corners, mesh, Step{});
    model.addArrayProperty(DatasetType::Connectivity1, Array1d<unsigned int>{0, 1, 2, 3}, mesh,
                           Step{});
    model.addArrayProperty(DatasetType::Polylength1, Array1d<unsigned int>{4}, mesh, Step{});

    for (const float time : {0.0F, 0.5F, 1.0F}) {
        Step step{"t=" + std::to_string(time)};
        step.attributes.set("Time", time);
        const Array1d<float> temperature(4, 20.0F + 80.0F * time);
        model.addArrayProperty("Temperature", DatasetType::ResultA1, temperature, mesh, step);
    }
    model.close(); // only now the file is complete
} catch (const std::exception& failure) {
    std::cerr << "write_model: " << failure.what() << '\n';
    return 1;
}
