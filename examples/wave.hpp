// Writes one large array with the threads of the caller, for the examples of thread pools.
#pragma once

#include <tyr/mek2/model.hpp>

#include <cmath>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

inline void writeWave(const std::string& path, const Tyr::Mek2::ParallelFor& parallelFor) {
    using namespace Tyr::Mek2;
    SaverOptions options;
    options.overwrite = true;
    options.parallelFor = parallelFor;

    constexpr std::size_t points = 500'000;
    Array2d<float> coordinates(points, 3);
    Array1d<unsigned int> vertices(points);
    for (std::size_t i = 0; i < points; ++i) {
        coordinates(i, 0) = static_cast<float>(i) * 1e-3F;
        coordinates(i, 1) = std::sin(coordinates(i, 0));
        vertices[i] = static_cast<unsigned int>(i);
    }

    Model model;
    model.saveTo(path, options);
    model.addNode(NodeType::RootGroup, "wave");
    const unsigned int wave = model.addNode(NodeType::Shape, "points");
    model.addArrayProperty(DatasetType::Coordinates, coordinates, wave, Step{});
    model.addArrayProperty(DatasetType::Connectivity0, vertices, wave, Step{});
    model.addArrayProperty(DatasetType::Polylength0, Array1d<unsigned int>(points, 1U), wave,
                           Step{});
    model.close();
}

inline int runExample(int argc, char** argv, const std::string& defaultPath,
                      const Tyr::Mek2::ParallelFor& parallelFor) {
    try {
        writeWave(argc > 1 ? argv[1] : defaultPath, parallelFor);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
