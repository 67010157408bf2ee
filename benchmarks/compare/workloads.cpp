#include "compare/workloads.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace Bench {

namespace {

constexpr float pi = 3.14159265F;

/// A sine along an edge. Products of these are smooth fields and cheap to compute.
std::vector<float> wave(std::uint32_t points, float halfWaves, float phase) {
    std::vector<float> values(points);
    for (std::uint32_t i = 0; i < points; ++i) {
        values[i] =
            std::sin(phase + pi * halfWaves * static_cast<float>(i) / static_cast<float>(points));
    }
    return values;
}

/// Calls `visit(i, j, k)` for each node of a cubic grid.
template <class Visit>
void forEachNode(std::uint32_t edge, const Visit& visit) {
    for (std::uint32_t k = 0; k < edge; ++k) {
        for (std::uint32_t j = 0; j < edge; ++j) {
            for (std::uint32_t i = 0; i < edge; ++i) {
                visit(i, j, k);
            }
        }
    }
}

/// A bent beam: no coordinate repeats along a line of nodes.
void fillCoordinates(std::uint32_t edge, float* values) {
    const std::vector<float> sine = wave(edge, 0.4F, 0);
    const std::vector<float> cosine = wave(edge, 0.4F, pi / 2);
    const auto share = [edge](std::uint32_t i) {
        return static_cast<float>(i) / static_cast<float>(edge);
    };
    forEachNode(edge, [&](std::uint32_t i, std::uint32_t j, std::uint32_t k) {
        const float radius = 3.0F + share(j);
        *values++ = radius * cosine[i];
        *values++ = radius * sine[i];
        *values++ = share(k) * (1.0F + 0.1F * sine[i] * share(j));
    });
}

/// Hexahedra of eight nodes each, counted from 1.
void fillConnectivity(std::uint32_t edge, std::uint32_t* values) {
    forEachNode(edge - 1, [&](std::uint32_t i, std::uint32_t j, std::uint32_t k) {
        const std::uint32_t first = 1 + i + edge * (j + edge * k);
        for (const std::uint32_t low : {first, first + edge * edge}) {
            for (const std::uint32_t node : {low, low + 1, low + 1 + edge, low + edge}) {
                *values++ = node;
            }
        }
    });
}

/// A result at the nodes. Each component has a different shape; the amplitude grows with time.
void fillResult(const Dataset& dataset, float* values) {
    struct Component {
        std::vector<float> x, y, z;
    };
    std::vector<Component> components;
    const auto time = static_cast<float>(dataset.moment);
    for (std::uint32_t c = 0; c < dataset.width; ++c) {
        const float shape = 0.7F + 0.3F * static_cast<float>(c);
        components.push_back({wave(dataset.edge, shape, 0.3F + 0.05F * time),
                              wave(dataset.edge, shape + 0.2F, 0.9F),
                              wave(dataset.edge, 1.1F, 0.1F * shape)});
        for (float& value : components.back().x) {
            value *= 0.01F * (1.0F + time);
        }
    }
    forEachNode(dataset.edge, [&](std::uint32_t i, std::uint32_t j, std::uint32_t k) {
        for (const Component& component : components) {
            *values++ = component.x[i] * component.y[j] * component.z[k];
        }
    });
}

/// A smooth field in the plane.
void fillTemperature(const Dataset& dataset, float* values) {
    constexpr std::uint32_t columns = 16384;
    const std::vector<float> x = wave(columns, 1.3F, 0.2F);
    const std::vector<float> y =
        wave(dataset.rows / columns + 1, 0.9F, 0.5F + 0.1F * static_cast<float>(dataset.moment));
    for (std::uint32_t i = 0; i < dataset.rows; ++i) {
        values[i] = 293.0F + 80.0F * x[i % columns] * y[i / columns];
    }
}

/// Probes that report in steps of 0.25; few of them change from step to step.
void fillProbes(const Dataset& dataset, float* values) {
    const float time = static_cast<float>(dataset.moment) * 3e-4F;
    for (std::uint32_t i = 0; i < dataset.rows; ++i) {
        const float exact = 20.0F + 60.0F * std::sin(time + 0.05F * static_cast<float>(i));
        values[i] = std::round(exact * 4) / 4;
    }
}

/// A hexahedral mesh with displacement and stress for each step.
std::vector<Dataset> meshWithResults(std::uint32_t edge, std::uint32_t steps) {
    const std::uint32_t nodes = edge * edge * edge;
    const std::uint32_t elements = (edge - 1) * (edge - 1) * (edge - 1);
    std::vector<Dataset> datasets = {{Kind::Coordinates, nodes, 3, edge},
                                     {Kind::Connectivity, elements * 8, 1, edge}};
    for (std::uint32_t step = 1; step <= steps; ++step) {
        datasets.push_back({Kind::Displacement, nodes, 3, edge, step});
        datasets.push_back({Kind::Stress, nodes, 6, edge, step});
    }
    return datasets;
}

std::vector<Dataset> steps(Kind kind, std::uint32_t rows, std::uint32_t count) {
    std::vector<Dataset> datasets;
    for (std::uint32_t step = 1; step <= count; ++step) {
        datasets.push_back({kind, rows, 1, 0, step});
    }
    return datasets;
}

} // namespace

std::string Dataset::name() const {
    constexpr std::array<const char*, 6> names = {"Coordinates", "Connectivity", "Displacement",
                                                  "Stress",      "Temperature",  "Probes"};
    return names[static_cast<std::size_t>(kind)];
}

std::string Dataset::step() const { return moment == 0 ? "" : "Step " + std::to_string(moment); }

void Dataset::fill(void* values) const {
    switch (kind) {
        case Kind::Coordinates:
            return fillCoordinates(edge, static_cast<float*>(values));
        case Kind::Connectivity:
            return fillConnectivity(edge, static_cast<std::uint32_t*>(values));
        case Kind::Displacement:
        case Kind::Stress:
            return fillResult(*this, static_cast<float*>(values));
        case Kind::Temperature:
            return fillTemperature(*this, static_cast<float*>(values));
        case Kind::Probes:
            return fillProbes(*this, static_cast<float*>(values));
    }
}

std::uint64_t Workload::sizeInBytes() const {
    std::uint64_t size = 0;
    for (const Dataset& dataset : datasets) {
        size += dataset.sizeInBytes();
    }
    return size;
}

Workload workloadNamed(const std::string& name) {
    constexpr std::uint32_t gibibyteOfValues = 1U << 28;
    constexpr std::uint32_t mebibyteOfValues = 1U << 18;
    constexpr std::uint32_t fiftyMebibytesOfValues = 50 * mebibyteOfValues;
    if (name == "bulk-150") {
        return {name, "Bulk: mesh of 10^6 nodes, 3 steps", meshWithResults(100, 3)};
    }
    if (name == "bulk-1000") {
        return {name, "Bulk: mesh of 6.6 x 10^6 nodes, 3 steps", meshWithResults(188, 3)};
    }
    if (name == "bulk-steps") {
        return {name, "Bulk: mesh of 10^6 nodes, 27 steps", meshWithResults(100, 27)};
    }
    if (name == "small") {
        return {name, "Small: 100,000 steps of 100 values", steps(Kind::Probes, 100, 100000)};
    }
    if (name == "one-array") {
        return {name, "One array of 1 GiB", steps(Kind::Temperature, gibibyteOfValues, 1)};
    }
    if (name == "stream") {
        return {name, "2 GiB in arrays of 50 MiB, one in memory at a time",
                steps(Kind::Temperature, fiftyMebibytesOfValues, 41), false};
    }
    if (name == "block") {
        return {name, "One block: 200 MiB in arrays of 1 MiB, one in memory at a time",
                steps(Kind::Temperature, mebibyteOfValues, 200), false};
    }
    throw std::runtime_error("no workload '" + name + "'");
}

} // namespace Bench
