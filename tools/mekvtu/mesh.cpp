#include "mekvtu/mesh.hpp"

#include "mekreader/error.hpp"
#include "mekvtu/celltype.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

namespace MekVtu {

namespace {

using MekReader::File;
using MekReader::Variable;

template <class Predicate>
const Variable* find(const File& file, const MekReader::Node& geometry, std::string_view step,
                     const Predicate& isWanted) {
    const Variable* withoutStep = nullptr;
    for (const Variable& variable : geometry.variables) {
        const std::string_view ofStep = MekReader::stepOf(variable.name);
        if (!isWanted(variable) || (!ofStep.empty() && ofStep != step) ||
            file.hasCircularLinks(variable)) {
            continue;
        }
        if (ofStep == step) {
            return &variable;
        }
        withoutStep = withoutStep != nullptr ? withoutStep : &variable;
    }
    return withoutStep;
}

const Variable* ownerOf(const File& file, const Variable* variable) {
    return variable != nullptr ? &file.owner(*variable) : nullptr;
}

class MeshReader {
public:
    MeshReader(File& file, const MeshSource& source, std::string name)
        : file_(file), source_(source), name_(std::move(name)) {}

    Mesh mesh() {
        const MekReader::Values coordinates = readCoordinates();
        Mesh mesh;
        mesh.coordinateRows = coordinates.rows();
        const std::vector<std::uint32_t> connectivity = words(*source_.connectivity);
        const unsigned dimension = source_.dimension;
        std::uint64_t start = 0;
        for (const std::uint32_t nodes : lengths(dimension, connectivity.size())) {
            addElement(mesh, dimension, connectivity, start, nodes);
            start += nodes;
        }
        if (start != connectivity.size()) {
            fail("the polylengths add up to " + std::to_string(start) +
                 ", but the connectivity has " + std::to_string(connectivity.size()) + " rows");
        }
        keepUsedRows(mesh);
        takePoints(mesh, coordinates);
        return mesh;
    }

    Mesh points(std::optional<std::vector<std::uint32_t>> rows) {
        const MekReader::Values coordinates = readCoordinates();
        Mesh mesh;
        mesh.coordinateRows = coordinates.rows();
        if (rows) {
            mesh.rows = std::move(*rows);
        } else {
            mesh.rows.resize(mesh.coordinateRows);
            std::iota(mesh.rows.begin(), mesh.rows.end(), 0U);
        }
        mesh.connectivity.resize(mesh.rows.size());
        std::iota(mesh.connectivity.begin(), mesh.connectivity.end(), 0);
        mesh.offsets.resize(mesh.rows.size());
        std::iota(mesh.offsets.begin(), mesh.offsets.end(), 1);
        mesh.types.assign(mesh.rows.size(), vtkVertex);
        takePoints(mesh, coordinates);
        return mesh;
    }

private:
    [[noreturn]] void fail(const std::string& reason) const {
        throw MekReader::Error("shape \"" + name_ + "\": " + reason);
    }

    MekReader::Values readCoordinates() const {
        MekReader::Values values = readValues(file_, *source_.coordinates);
        if (!values.isFloat || values.width != 3) {
            fail("its coordinates do not have three floats per row");
        }
        return values;
    }

    std::vector<std::uint32_t> words(const Variable& variable) const {
        MekReader::Values values = readValues(file_, variable);
        if (values.isFloat || values.width != 1) {
            fail("\"" + variable.name + "\" does not have one unsigned number per row");
        }
        return std::move(values.words);
    }

    std::vector<std::uint32_t> lengths(unsigned dimension, std::uint64_t nodes) const {
        if (source_.polylength != nullptr) {
            return words(*source_.polylength);
        }
        const std::optional<std::uint32_t> each = nodesByName(name_, dimension);
        if (!each) {
            fail(
                "unknown number of nodes per element: no polylength, and the name is no element "
                "type");
        }
        // the sum reveals a remainder
        return std::vector<std::uint32_t>(nodes / *each, *each);
    }

    /// The element that is added next, for error messages.
    static std::string describeNextElement(const Mesh& mesh) {
        return "element " + std::to_string(mesh.types.size());
    }

    void addElement(Mesh& mesh, unsigned dimension, const std::vector<std::uint32_t>& connectivity,
                    std::uint64_t start, std::uint32_t nodes) const {
        const std::optional<CellType> type = cellType(name_, dimension, nodes);
        if (!type) {
            fail(describeNextElement(mesh) + " of dimension " + std::to_string(dimension) +
                 " has " + std::to_string(nodes) + " nodes");
        }
        if (nodes > connectivity.size() - start) {
            fail(describeNextElement(mesh) + " exceeds the connectivity");
        }
        for (std::uint32_t i = 0; i < nodes; ++i) {
            const std::uint32_t row =
                connectivity[start + (type->order != nullptr ? type->order[i] : i)];
            if (row >= mesh.coordinateRows) {
                fail(describeNextElement(mesh) + " uses row " + std::to_string(row) + " of " +
                     std::to_string(mesh.coordinateRows) + " coordinates");
            }
            mesh.connectivity.push_back(row);
        }
        mesh.offsets.push_back(static_cast<std::int64_t>(mesh.connectivity.size()));
        mesh.types.push_back(type->number);
    }

    /// Lists the rows that are used and renumbers the nodes of the cells.
    static void keepUsedRows(Mesh& mesh) {
        constexpr std::uint32_t unused = std::numeric_limits<std::uint32_t>::max();
        std::vector<std::uint32_t> pointOfRow(mesh.coordinateRows, unused);
        for (const std::int64_t row : mesh.connectivity) {
            pointOfRow[static_cast<std::size_t>(row)] = 0;
        }
        for (std::uint32_t row = 0; row < pointOfRow.size(); ++row) {
            if (pointOfRow[row] != unused) {
                pointOfRow[row] = static_cast<std::uint32_t>(mesh.rows.size());
                mesh.rows.push_back(row);
            }
        }
        for (std::int64_t& node : mesh.connectivity) {
            node = pointOfRow[static_cast<std::size_t>(node)];
        }
    }

    static void takePoints(Mesh& mesh, const MekReader::Values& coordinates) {
        mesh.points.resize(3 * mesh.rows.size());
        for (std::size_t point = 0; point < mesh.rows.size(); ++point) {
            std::memcpy(&mesh.points[3 * point],
                        &coordinates.words[std::size_t{3} * mesh.rows[point]], 3 * sizeof(float));
        }
    }

    File& file_;
    const MeshSource& source_;
    std::string name_;
};

} // namespace

MeshSource meshSource(const File& file, const MekReader::Node& geometry, std::string_view step) {
    const Variable* const connectivity = find(file, geometry, step, MekReader::isConnectivity);
    MeshSource source;
    source.coordinates = ownerOf(file, find(file, geometry, step, MekReader::isCoordinates));
    source.connectivity = ownerOf(file, connectivity);
    source.polylength = ownerOf(file, find(file, geometry, step, MekReader::isPolylength));
    // the type of a link may differ from that of its owner
    source.dimension = connectivity != nullptr
                           ? connectivity->type - MekReader::VariableType::firstConnectivity + 1
                           : 0;
    return source;
}

Mesh readMesh(File& file, const MeshSource& source, const std::string& name) {
    MeshReader reader(file, source, name);
    return source.connectivity != nullptr ? reader.mesh() : reader.points(std::nullopt);
}

Mesh pointMesh(File& file, const MeshSource& source, std::vector<std::uint32_t> rows) {
    return MeshReader(file, source, {}).points(std::move(rows));
}

} // namespace MekVtu
