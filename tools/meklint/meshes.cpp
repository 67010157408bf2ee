#include "meklint/meshes.hpp"

#include "mekreader/variables.hpp"
#include "mekvtu/celltype.hpp"

#include <algorithm>

namespace MekLint {

namespace {

using MekReader::Variable;

/// The place of a variable in a mesh; null if it is not a mesh array.
const Variable** placeOf(MeshVariables& mesh, const Variable& variable) {
    if (MekReader::isCoordinates(variable)) {
        return &mesh.coordinates;
    }
    if (MekReader::isConnectivity(variable)) {
        return &mesh.connectivity;
    }
    return MekReader::isPolylength(variable) ? &mesh.polylength : nullptr;
}

} // namespace

unsigned dimensionOf(const Variable& connectivity) {
    return connectivity.type - MekReader::VariableType::firstConnectivity + 1;
}

Meshes::Meshes(const MekReader::Node& geometry) {
    MeshVariables unused;
    for (const Variable& variable : geometry.variables) {
        if (ownerOf(variable) == nullptr || placeOf(unused, variable) == nullptr) {
            continue;
        }
        const Variable** const place = placeOf(meshes_[MekReader::stepOf(variable.name)], variable);
        if (*place == nullptr) {
            *place = &variable;
        } else {
            ignored_.push_back(&variable);
        }
    }
}

MeshVariables Meshes::at(std::string_view step) const {
    const auto find = [this](std::string_view name) {
        const auto found = meshes_.find(name);
        return found != meshes_.end() ? found->second : MeshVariables{};
    };
    MeshVariables mesh = find(step);
    const MeshVariables withoutStep = find({});
    const auto complete = [](const Variable*& variable, const Variable* other) {
        variable = variable != nullptr ? variable : other;
    };
    complete(mesh.coordinates, withoutStep.coordinates);
    complete(mesh.connectivity, withoutStep.connectivity);
    complete(mesh.polylength, withoutStep.polylength);
    return mesh;
}

std::vector<std::string_view> Meshes::steps() const {
    const bool haveStepsCoordinates =
        std::any_of(meshes_.begin(), meshes_.end(), [](const auto& entry) {
            return !entry.first.empty() && entry.second.coordinates != nullptr;
        });
    std::vector<std::string_view> steps;
    for (const auto& [step, mesh] : meshes_) {
        if (!step.empty() || mesh.coordinates != nullptr || !haveStepsCoordinates) {
            steps.push_back(step);
        }
    }
    return steps;
}

std::optional<std::uint64_t> countElements(const MeshVariables& mesh, std::string_view shape) {
    if (mesh.connectivity == nullptr) {
        return rowsOf(*mesh.coordinates);
    }
    if (mesh.polylength != nullptr) {
        return rowsOf(*mesh.polylength);
    }
    const auto each = MekVtu::nodesByName(shape, dimensionOf(*mesh.connectivity));
    return each ? std::optional(rowsOf(*mesh.connectivity) / *each) : std::nullopt;
}

} // namespace MekLint
