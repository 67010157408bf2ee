// Writes a bar of two hexahedra, with ids and the temperature at its nodes.
//
// Usage: first_model [FILE]
#include <tyr/mek2/model.hpp>

#include <exception>
#include <iostream>

using namespace Tyr::Mek2;

int main(int argc, char** argv) try {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "first_model";
    Model model;
    model.saveTo(argc > 1 ? argv[1] : "first_model.mek", options);

    model.addNode(NodeType::RootGroup, "bar");
    const unsigned int solid = model.addNode(NodeType::Shape, "HE8"); // id of its geometry

    // One row of x, y, z for each node. A mesh depends on no step: the step has no name.
    const Array2d<float> nodes(12, 3, {0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0,
                                       1, 1, 1, 1, 0, 1, 2, 0, 0, 2, 1, 0, 2, 1, 1, 2, 0, 1});
    const Array1d<unsigned int> nodeIds{11, 12, 13, 14, 21, 22, 23, 24, 31, 32, 33, 34};
    model.addArrayProperty(DatasetType::Coordinates, nodes, solid, Step{});
    model.addArrayProperty(DatasetType::NodeIds, nodeIds, solid, Step{});

    // The connectivity lists the row numbers of the nodes, from 0, element after element; the
    // polylength has the number of nodes of each element. The 2 in their names is for solids.
    const Array1d<unsigned int> corners{0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11};
    model.addArrayProperty(DatasetType::Connectivity2, corners, solid, Step{});
    model.addArrayProperty(DatasetType::Polylength2, Array1d<unsigned int>{8, 8}, solid, Step{});
    model.addArrayProperty(DatasetType::ElementIds, Array1d<unsigned int>{1, 2}, solid, Step{});

    const Array1d<float> temperature{20, 20, 20, 20, 45, 45, 45, 45, 70, 70, 70, 70};
    model.addArrayProperty("Temperature", DatasetType::ResultA1, temperature, solid, Step{});

    model.close(); // the file is complete only now
} catch (const std::exception& error) {
    std::cerr << "first_model: " << error.what() << '\n';
    return 1;
}
