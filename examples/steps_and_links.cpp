// Results for several steps on two shapes that share their nodes. Every array is written once.
//
// Usage: steps_and_links [FILE]
#include <tyr/mek2/model.hpp>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>

using namespace Tyr::Mek2;

namespace {

constexpr float pi = 3.14159265F;

// The deflection of a bridge deck of six nodes. The two nodes in the middle move.
Array2d<float> deflection(float time) {
    Array2d<float> displacement(6, 3);
    for (const std::size_t row : {1U, 4U}) {
        displacement(row, 2) = -0.1F * std::sin(2 * pi * time);
    }
    return displacement;
}

void writeMesh(Model& model, unsigned int deck, unsigned int edge) {
    const Step always{};
    const Array2d<float> nodes(6, 3, {0, 0, 0, 1, 0, 0, 2, 0, 0, 0, 1, 0, 1, 1, 0, 2, 1, 0});

    // The first shape owns the coordinates, the second one has a link to them.
    model.addArrayProperty(DatasetType::Coordinates, nodes, Array1d<unsigned int>{deck, edge},
                           always);

    model.addArrayProperty(DatasetType::Connectivity1,
                           Array1d<unsigned int>{0, 1, 4, 3, 1, 2, 5, 4}, deck, always);
    model.addArrayProperty(DatasetType::Polylength1, Array1d<unsigned int>{4, 4}, deck, always);

    model.addArrayProperty(DatasetType::Connectivity0, Array1d<unsigned int>{0, 1, 1, 2}, edge,
                           always);
    model.addArrayProperty(DatasetType::Polylength0, Array1d<unsigned int>{2, 2}, edge, always);
}

void writeResults(Model& model, unsigned int deck, unsigned int edge) {
    const Array1d<unsigned int> both{deck, edge};

    // A result has the same name in all steps. The attributes of a step are added to the array.
    for (unsigned int number = 0; number <= 8; ++number) {
        const float time = static_cast<float>(number) / 8;
        Step step{"Step " + std::to_string(number)};
        step.attributes.set("Number", number);
        step.attributes.set("Time", time);
        model.addArrayProperty(DatasetType::Displacement3, deflection(time), both, step);
    }

    // An array that is valid for several steps is written once, with a list of steps.
    StepList rest(2);
    rest.set(0, Step{"Step 0"});
    rest.set(1, Step{"Step 8"});
    Attributes unit;
    unit.set("Unit", "MPa");
    model.addArrayProperty("Stress", DatasetType::ResultB1, Array1d<float>{1.5F, 2.5F}, deck, rest,
                           unit);
}

void write(const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "steps_and_links";
    Model model;
    model.saveTo(path, options);
    const Array1d<unsigned int> ids = model.addAssemblyComponents({"/bridge/deck", "/bridge/edge"});
    writeMesh(model, ids[0], ids[1]);
    writeResults(model, ids[0], ids[1]);
    model.close();
}

} // namespace

int main(int argc, char** argv) {
    try {
        write(argc > 1 ? argv[1] : "steps_and_links.mek");
    } catch (const std::exception& error) {
        std::cerr << "steps_and_links: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
