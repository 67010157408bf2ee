/// Writes the container that check_sample.py knows: one element of each type on one set of
/// coordinates, placed, with results for two steps.
#include <tyr/mek2/model.hpp>

#include <cstring>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Tyr::Mek2;

using Edges = std::vector<std::pair<unsigned, unsigned>>;

const std::vector<float> hexahedron = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0,
                                       0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
const std::vector<float> wedge = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 0, 1, 1};
const std::vector<float> tetrahedron = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
const std::vector<float> quadrilateral = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
const std::vector<float> triangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
const std::vector<float> beam = {0, 0, 0, 1, 0, 0};

struct Element {
    std::string shape;
    int dimension;
    std::vector<float> corners;
    Edges edges; ///< whose middles follow the corners, in the order of the solver's result file
};

const std::vector<Element> elements = {
    {"HE8", 3, hexahedron, {}},
    {"PE6", 3, wedge, {}},
    {"TE4", 3, tetrahedron, {}},
    {"HE20",
     3,
     hexahedron,
     {{0, 1},
      {1, 2},
      {2, 3},
      {3, 0},
      {0, 4},
      {1, 5},
      {2, 6},
      {3, 7},
      {4, 5},
      {5, 6},
      {6, 7},
      {7, 4}}},
    {"PE15", 3, wedge, {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 4}, {2, 5}, {3, 4}, {4, 5}, {5, 3}}},
    {"TE10", 3, tetrahedron, {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}},
    {"TR3", 2, triangle, {}},
    {"TR6", 2, triangle, {{0, 1}, {1, 2}, {2, 0}}},
    {"QU4", 2, quadrilateral, {}},
    {"QU8", 2, quadrilateral, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
    {"BE2", 1, beam, {}},
    {"BE3", 1, beam, {{0, 1}}},
};

/// Corners, then the middles of the edges.
std::vector<float> nodesOf(const Element& element) {
    std::vector<float> nodes = element.corners;
    for (const auto& [from, to] : element.edges) {
        for (unsigned axis = 0; axis < 3; ++axis) {
            nodes.push_back((nodes[3 * from + axis] + nodes[3 * to + axis]) / 2);
        }
    }
    return nodes;
}

/// The dataset type of this dimension, from that of dimension 1.
DatasetType ofDimension(DatasetType first, int dimension) {
    return static_cast<DatasetType>(static_cast<int>(first) + dimension - 1);
}

float fromBits(std::uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// Values that tell row and column.
Array2d<float> table(std::size_t rows, std::size_t columns, float start) {
    Array2d<float> values(rows, columns);
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns; ++column) {
            values(row, column) = start + static_cast<float>(10 * row + column);
        }
    }
    return values;
}

class Sample {
public:
    explicit Sample(const std::string& path) {
        SaverOptions options;
        options.overwrite = true;
        model_.saveTo(path, options);
        addTree();
        addMeshes();
        addResults();
        model_.close();
    }

private:
    void addTree() {
        model_.addNode(NodeType::RootGroup, "one & all");
        NodeProperties outer;
        outer.set(PropertyType::Translation, std::vector<float>{10, 0, 0});
        model_.setNodeData(1, outer);
        // a quarter turn about z, told with an axis that is not of length 1
        NodeProperties inner;
        inner.set(PropertyType::Rotation, std::vector<float>{0, 0, 2, 1.57079632679489662F});
        inner.set(PropertyType::Scale, std::vector<float>{2, 1, 1});
        inner.set(PropertyType::Translation, std::vector<float>{0, 100, 0});
        model_.setNodeData(model_.addNode(NodeType::Group, "placed"), inner);
        NodeProperties look;
        look.set(PropertyType::DiffuseColor, std::vector<float>{0.25F, 0.5F, 0.75F});
        for (const Element& element : elements) {
            const std::string parent = element.shape == "TE4" ? "/one & all/placed" : "/one & all";
            model_.setCurrentNodeId(model_.getNodeId(parent));
            ids_.push_back(model_.addNode(NodeType::Shape, element.shape));
            model_.setNodeData(ids_.back(), look);
        }
    }

    void addMeshes() {
        std::vector<float> coordinates = {-5, -5, -5}; // of a node that no element has
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const Element& element = elements[i];
            const std::vector<float> nodes = nodesOf(element);
            const auto first = static_cast<unsigned>(coordinates.size() / 3);
            const auto count = static_cast<unsigned>(nodes.size() / 3);
            coordinates.insert(coordinates.end(), nodes.begin(), nodes.end());
            Array1d<unsigned int> connectivity(count);
            for (unsigned node = 0; node < count; ++node) {
                connectivity[node] = first + node;
            }
            model_.addArrayProperty(ofDimension(DatasetType::Connectivity0, element.dimension),
                                    connectivity, ids_[i], Step{});
            if (element.shape != "HE20") { // whose name tells it
                model_.addArrayProperty(ofDimension(DatasetType::Polylength0, element.dimension),
                                        Array1d<unsigned int>(1, count), ids_[i], Step{});
            }
            model_.addArrayProperty(DatasetType::ElementIds,
                                    Array1d<unsigned int>(1, 500 + static_cast<unsigned>(i)),
                                    ids_[i], Step{});
        }
        rows_ = coordinates.size() / 3;
        model_.addArrayProperty(DatasetType::Coordinates, Array2d<float>(rows_, 3, coordinates),
                                Array1d<unsigned int>(ids_), Step{});
        Array1d<unsigned int> nodeIds(rows_);
        for (unsigned row = 0; row < rows_; ++row) {
            nodeIds[row] = 1000 + 3 * row;
        }
        model_.addArrayProperty(DatasetType::NodeIds, nodeIds, Array1d<unsigned int>(ids_), Step{});
    }

    void addResults() {
        const Array1d<unsigned int> all(ids_);
        for (const float time : {0.5F, 0.1F}) { // to be told by time, not by order
            Step step{"Step t=" + std::to_string(time)};
            step.attributes.set("Time", time);
            Array2d<float> stress = table(rows_, 6, time);
            stress(1, 0) = fromBits(0x7FC12345); // a NaN with a payload
            stress(1, 1) = -0.0F;
            model_.addArrayProperty("STRESS", DatasetType::ResultA6, stress, all, step);
            model_.addArrayProperty(DatasetType::Displacement3, table(rows_, 3, time), all, step);
            model_.addArrayProperty("ENERGY\x01<\xFF", DatasetType::ResultB1, table(1, 1, 7 + time),
                                    all, step);
            model_.addArrayProperty("LOST", DatasetType::ResultA1, table(2, 1, time), ids_[0],
                                    step);
        }
    }

    Model model_;
    std::vector<unsigned int> ids_; ///< of the geometries, in the order of the elements
    std::size_t rows_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: vtu_sample FILE\n";
        return 2;
    }
    const Sample sample(argv[1]);
    return 0;
}
