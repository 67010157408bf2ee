#include "meklint/arrayfacts.hpp"
#include "meklint/checks.hpp"
#include "meklint/meshes.hpp"
#include "mekreader/variables.hpp"

#include <optional>

namespace MekLint {

namespace {

using MekReader::Node;
using MekReader::Variable;

std::string mismatch(const Variable& result, std::uint64_t rows, const char* things) {
    return "it has " + std::to_string(rowsOf(result)) + " rows for " + std::to_string(rows) + " " +
           things;
}

/// The finding about a result on a mesh; empty if there is none.
std::string problemOf(const Variable& result, const MeshVariables& mesh, const Node& geometry) {
    if (mesh.coordinates == nullptr) {
        return "there are no coordinates for it";
    }
    if (MekReader::isNodeResult(result)) {
        const std::uint64_t nodes = rowsOf(*mesh.coordinates);
        return rowsOf(result) != nodes ? mismatch(result, nodes, "nodes") : "";
    }
    const std::optional<std::uint64_t> elements = countElements(mesh, geometry.name);
    return elements && rowsOf(result) != *elements ? mismatch(result, *elements, "elements") : "";
}

/// The meshes that a result applies to: that of its step; without a step all meshes.
std::vector<std::string_view> stepsOf(const Variable& result, const Meshes& meshes) {
    const std::string_view step = MekReader::stepOf(result.name);
    std::vector<std::string_view> steps;
    if (step.empty()) {
        steps = meshes.steps();
    }
    return steps.empty() ? std::vector{step} : steps;
}

void checkGeometry(const Reporter& reporter, const Node& geometry) {
    const Meshes meshes(geometry);
    for (const Variable& variable : geometry.variables) {
        const bool isResult =
            MekReader::isNodeResult(variable) || MekReader::isElementResult(variable);
        if (!isResult || ownerOf(variable) == nullptr) {
            continue;
        }
        for (const std::string_view step : stepsOf(variable, meshes)) {
            const std::string problem = problemOf(variable, meshes.at(step), geometry);
            if (!problem.empty()) {
                reporter.add(geometry, variable, problem);
                break; // one finding for each variable
            }
        }
    }
}

} // namespace

void checkResults(const MekReader::File& file, const Reporter& reporter) {
    for (const Node& node : file.nodes()) {
        checkGeometry(reporter, node);
    }
}

} // namespace MekLint
