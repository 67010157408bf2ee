#include "mekvtu/part.hpp"

#include "mekvtu/ancestors.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace MekVtu {

namespace {

/// Rows of the coordinates that none of the parts uses.
std::vector<std::uint32_t> unusedRows(const std::vector<const Part*>& parts) {
    std::vector<bool> isUsed(parts.front()->mesh.coordinateRows, false);
    for (const Part* const part : parts) {
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

Parts::Parts(MekReader::File& file) : file_(file) {
    for (const MekReader::Node& node : file.nodes()) {
        if (node.type == "Geometry") {
            geometries_.push_back(&node);
        }
    }
}

const std::vector<Part>& Parts::at(std::string_view step) {
    std::vector<MeshSource> sources;
    sources.reserve(geometries_.size());
    for (const MekReader::Node* const geometry : geometries_) {
        sources.push_back(meshSource(file_, *geometry, step));
    }
    if (sources != sources_) {
        parts_.clear();
        read(sources);
        sources_ = sources;
    }
    return parts_;
}

void Parts::read(const std::vector<MeshSource>& sources) {
    for (std::size_t index = 0; index < sources.size(); ++index) {
        if (sources[index].coordinates != nullptr) {
            parts_.push_back(partOf(index, sources[index]));
            Part& part = parts_.back();
            part.mesh = readMesh(file_, part.source, part.geometry->name);
        }
    }
    addUnusedNodes();
    for (Part& part : parts_) {
        part.placement.placePoints(part.mesh.points);
    }
}

Part Parts::partOf(std::size_t index, const MeshSource& source) const {
    Part part;
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

void Parts::addUnusedNodes() {
    std::map<const MekReader::Variable*, std::vector<const Part*>> partsOfCoordinates;
    for (const Part& part : parts_) {
        partsOfCoordinates[part.source.coordinates].push_back(&part);
    }
    std::vector<Part> added;
    for (const auto& [coordinates, parts] : partsOfCoordinates) {
        std::vector<std::uint32_t> rows = unusedRows(parts);
        if (!rows.empty()) {
            const Part& first = *parts.front();
            Part part = partOf(first.number, first.source);
            part.isOfUnusedNodes = true;
            part.number += geometries_.size();
            part.name += " (nodes without elements)";
            part.mesh = pointMesh(file_, part.source, std::move(rows));
            added.push_back(std::move(part));
        }
    }
    // in the order of the geometries, and not of addresses
    std::sort(added.begin(), added.end(),
              [](const Part& left, const Part& right) { return left.number < right.number; });
    std::move(added.begin(), added.end(), std::back_inserter(parts_));
}

} // namespace MekVtu
