#include "mekvtu/meshpart.hpp"

#include "mekreader/navigation.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace MekVtu {

namespace {

/// Rows of the coordinates that no mesh part uses.
std::vector<std::uint32_t> unusedRows(const std::vector<const MeshPart*>& parts) {
    std::vector<bool> isUsed(parts.front()->mesh.coordinateRows, false);
    for (const MeshPart* const part : parts) {
        for (const std::uint32_t row : part->mesh.rows) {
            isUsed[row] = true;
        }
    }
    std::vector<std::uint32_t> rows;
    for (std::uint32_t row = 0; row < isUsed.size(); ++row) {
        if (!isUsed[row]) {
            rows.push_back(row);
        }
    }
    return rows;
}

} // namespace

MeshParts::MeshParts(MekReader::File& file) : file_(file) {
    for (const MekReader::Node& node : file.nodes()) {
        if (node.type == "Geometry") {
            geometries_.push_back(&node);
        }
    }
}

const std::vector<MeshPart>& MeshParts::at(std::string_view step) {
    std::vector<MeshSource> sources;
    sources.reserve(geometries_.size());
    for (const MekReader::Node* const geometry : geometries_) {
        sources.push_back(meshSource(file_, *geometry, step));
    }
    if (sources != sources_) {
        meshParts_.clear();
        read(sources);
        sources_ = sources;
    }
    return meshParts_;
}

void MeshParts::read(const std::vector<MeshSource>& sources) {
    for (std::size_t index = 0; index < sources.size(); ++index) {
        if (sources[index].coordinates != nullptr) {
            meshParts_.push_back(meshPartOf(index, sources[index]));
            MeshPart& part = meshParts_.back();
            part.mesh = readMesh(file_, part.source, part.geometry->name);
        }
    }
    addUnusedNodes();
    for (MeshPart& part : meshParts_) {
        part.placement.placePoints(part.mesh.points);
    }
}

MeshPart MeshParts::meshPartOf(std::size_t index, const MeshSource& source) const {
    MeshPart part;
    part.geometry = geometries_[index];
    part.source = source;
    part.number = index;
    part.placement = placementAbove(file_, *part.geometry);
    for (const MekReader::Node* const ancestor : ancestorsOf(file_, *part.geometry)) {
        if (part.shape == nullptr && ancestor->type == "Shape") {
            part.shape = ancestor;
        }
        part.name = ancestor->name + (part.name.empty() ? "" : "/") + part.name;
    }
    return part;
}

void MeshParts::addUnusedNodes() {
    std::map<const MekReader::Variable*, std::vector<const MeshPart*>> partsOfCoordinates;
    for (const MeshPart& part : meshParts_) {
        partsOfCoordinates[part.source.coordinates].push_back(&part);
    }
    std::vector<MeshPart> added;
    for (const auto& [coordinates, parts] : partsOfCoordinates) {
        std::vector<std::uint32_t> rows = unusedRows(parts);
        if (!rows.empty()) {
            const MeshPart& first = *parts.front();
            MeshPart part = meshPartOf(first.number, first.source);
            part.isOfUnusedNodes = true;
            part.number += geometries_.size();
            part.name += " (nodes without elements)";
            part.mesh = pointMesh(file_, part.source, std::move(rows));
            added.push_back(std::move(part));
        }
    }
    // the map is sorted by address; sort by geometry instead
    std::sort(added.begin(), added.end(), [](const MeshPart& left, const MeshPart& right) {
        return left.number < right.number;
    });
    std::move(added.begin(), added.end(), std::back_inserter(meshParts_));
}

} // namespace MekVtu
