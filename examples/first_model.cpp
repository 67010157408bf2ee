// The first model: a bar of two hexahedra, with ids and the temperature at its nodes.
//
// Usage: first_model [FILE]
#include <tyr/mek2/model.hpp>

#include <exception>
#include <iostream>
#include <string>

using namespace Tyr::Mek2;

namespace {

// Three cross sections of four nodes each, at x = 0, 1 and 2: one row of x, y, z for each node.
Array2d<float> coordinates() {
    constexpr float section[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    Array2d<float> nodes(12, 3);
    for (std::size_t row = 0; row < nodes.rows(); ++row) {
        nodes(row, 0) = static_cast<float>(row / 4);
        nodes(row, 1) = section[row % 4][0];
        nodes(row, 2) = section[row % 4][1];
    }
    return nodes;
}

void write(const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "first_model";
    Model model;
    model.saveTo(path, options);

    model.addNode(NodeType::RootGroup, "bar");
    const unsigned int solid = model.addNode(NodeType::Shape, "HE8"); // arrays go to this id

    // Data that belongs to no step has the step without a name.
    const Step always{};
    model.addArrayProperty(DatasetType::Coordinates, coordinates(), solid, always);
    model.addArrayProperty(DatasetType::NodeIds,
                           Array1d<unsigned int>{11, 12, 13, 14, 21, 22, 23, 24, 31, 32, 33, 34},
                           solid, always);

    // Elements name their nodes by the rows of the coordinates, one element after the other; the
    // polylength says how many nodes each one has. The 2 stands for elements of three dimensions.
    model.addArrayProperty(DatasetType::Connectivity2,
                           Array1d<unsigned int>{0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11},
                           solid, always);
    model.addArrayProperty(DatasetType::Polylength2, Array1d<unsigned int>{8, 8}, solid, always);
    model.addArrayProperty(DatasetType::ElementIds, Array1d<unsigned int>{1, 2}, solid, always);

    const Array1d<float> temperature{20, 20, 20, 20, 45, 45, 45, 45, 70, 70, 70, 70};
    model.addArrayProperty("Temperature", DatasetType::ResultA1, temperature, solid, always);

    model.close(); // writes the tree and all that is small: only now the file is complete
}

} // namespace

int main(int argc, char** argv) {
    try {
        write(argc > 1 ? argv[1] : "first_model.mek");
    } catch (const std::exception& failure) {
        std::cerr << "first_model: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
