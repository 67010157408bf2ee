#include "meklint/arrayfacts.hpp"
#include "meklint/checks.hpp"
#include "meklint/meshes.hpp"
#include "mekreader/variables.hpp"
#include "mekvtu/celltype.hpp"

namespace MekLint {

namespace {

using MekReader::Node;
using MekReader::Variable;

std::string counted(std::uint64_t number, const char* things) {
    return std::to_string(number) + " " + things;
}

/// The checks of the meshes of one geometry.
class MeshCheck {
public:
    MeshCheck(const Reporter& reporter, const ArrayFacts& facts, const Node& geometry)
        : reporter_(reporter), facts_(facts), geometry_(geometry) {}

    void run() const {
        checkElementTypes();
        const Meshes meshes(geometry_);
        for (const Variable* const ignored : meshes.ignored()) {
            add(*ignored, "an earlier variable has the same use; viewers ignore this one");
        }
        for (const std::string_view step : meshes.steps()) {
            check(meshes.at(step));
        }
    }

private:
    void add(const Variable& variable, const std::string& message) const {
        reporter_.add(geometry_, variable, message);
    }

    void checkElementTypes() const {
        for (const Variable& variable : geometry_.variables) {
            if (ownerOf(variable) == nullptr) {
                continue;
            }
            const bool hasFloats = isFloat(variable);
            if (MekReader::isCoordinates(variable) && !hasFloats) {
                add(variable, "coordinates of unsigned numbers; viewers expect floats");
            } else if (MekReader::isConnectivity(variable) && hasFloats) {
                add(variable, "connectivity of floats; viewers expect unsigned numbers");
            } else if (MekReader::isPolylength(variable) && hasFloats) {
                add(variable, "polylength of floats; viewers expect unsigned numbers");
            }
        }
    }

    void check(const MeshVariables& mesh) const {
        if (mesh.connectivity == nullptr) {
            if (mesh.polylength != nullptr) {
                add(*mesh.polylength, "polylength without connectivity");
            }
            return;
        }
        if (mesh.coordinates == nullptr) {
            add(*mesh.connectivity, "connectivity without coordinates");
        } else if (!isFloat(*mesh.connectivity)) {
            checkRange(*mesh.connectivity, rowsOf(*mesh.coordinates));
        }
        if (mesh.polylength == nullptr) {
            checkWithoutPolylength(*mesh.connectivity);
        } else if (!isFloat(*mesh.polylength)) {
            checkPolylength(*mesh.polylength, *mesh.connectivity);
        }
    }

    void checkRange(const Variable& connectivity, std::uint64_t coordinates) const {
        const LargestEntry& largest = facts_.largestEntry(connectivity);
        if (largest.value >= coordinates) {
            add(connectivity, "entry " + std::to_string(largest.index) + " is " +
                                  std::to_string(largest.value) + ", but the coordinates have " +
                                  counted(coordinates, "rows"));
        }
    }

    void checkPolylength(const Variable& polylength, const Variable& connectivity) const {
        const Lengths& lengths = facts_.lengths(polylength);
        if (lengths.sum != rowsOf(connectivity)) {
            add(polylength, "its sum is " + std::to_string(lengths.sum) +
                                ", but the connectivity has " +
                                counted(rowsOf(connectivity), "rows"));
        }
        const unsigned dimension = dimensionOf(connectivity);
        for (const auto& [nodes, element] : lengths.firstElements) {
            if (!MekVtu::cellType(geometry_.name, dimension, nodes)) {
                add(polylength, "element " + std::to_string(element) + " has " +
                                    counted(nodes, "nodes") + "; there is no such element of " +
                                    "dimension " + std::to_string(dimension));
            }
        }
    }

    void checkWithoutPolylength(const Variable& connectivity) const {
        const auto each = MekVtu::nodesByName(geometry_.name, dimensionOf(connectivity));
        if (!each) {
            add(connectivity,
                "there is no polylength, and the name of the shape is no element type");
        } else if (rowsOf(connectivity) % *each != 0) {
            add(connectivity, "its " + counted(rowsOf(connectivity), "rows") +
                                  " are no whole number of elements with " +
                                  counted(*each, "nodes"));
        }
    }

    const Reporter& reporter_;
    const ArrayFacts& facts_;
    const Node& geometry_;
};

} // namespace

void checkMeshes(MekReader::File& file, const Reporter& reporter) {
    const ArrayFacts facts(file);
    for (const Node& node : file.nodes()) {
        MeshCheck(reporter, facts, node).run();
    }
}

} // namespace MekLint
