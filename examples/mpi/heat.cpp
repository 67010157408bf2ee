// The heat equation on a plate that is distributed over the ranks of an MPI program: each rank has
// some rows of points, solves there, and writes its part of the one file.
//
// Usage: mpiexec -n 4 heat [FILE], with at most 80 ranks: each needs a row of points
#include <tyr/mek2/mpi.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

using namespace Tyr::Mek2;

namespace {

constexpr unsigned int columns = 120; // of points
constexpr unsigned int allRows = 80;
constexpr unsigned int steps = 50;
constexpr unsigned int iterationsPerStep = 40;
constexpr unsigned int stepsPerCheckpoint = 10;
constexpr float conductivity = 0.2F; // times time step, by the square of the distance of points

// The rows of this rank, with one more row below and above: the neighbours' or the edge's.
class Plate {
public:
    Plate(unsigned int rank, unsigned int ranks)
        : rank_(rank),
          ranks_(ranks),
          first_(allRows * rank / ranks),
          end_(allRows * (rank + 1) / ranks),
          values_(std::size_t{columns} * (rowCount() + 2)) {}

    unsigned int rowCount() const { return end_ - first_; }
    unsigned int firstRow() const { return first_; }

    // The left edge is hot, the others have no flow.
    void iterate() {
        exchangeRows();
        const std::vector<float> old = values_;
        for (unsigned int row = 1; row <= rowCount(); ++row) {
            for (unsigned int column = 0; column < columns; ++column) {
                const std::size_t at = std::size_t{row} * columns + column;
                const float left = column > 0 ? old[at - 1] : 100;
                const float right = column + 1 < columns ? old[at + 1] : old[at];
                const float around = left + right + old[at - columns] + old[at + columns];
                values_[at] += conductivity * (around - 4 * old[at]);
            }
        }
    }

    Array1d<float> temperature() const {
        return {values_.data() + columns, std::size_t{columns} * rowCount()};
    }

    Array2d<float> points() const {
        Array2d<float> points(std::size_t{columns} * rowCount(), 3);
        for (unsigned int i = 0; i < points.rows(); ++i) {
            points(i, 0) = static_cast<float>(i % columns);
            points(i, 1) = static_cast<float>(first_ + i / columns);
        }
        return points;
    }

    // Each rank has the elements between its rows and the row above. Their corners are rows of the
    // points of all ranks.
    Array1d<unsigned int> corners() const {
        std::vector<unsigned int> corners;
        for (unsigned int row = first_; row < end_ && row + 1 < allRows; ++row) {
            for (unsigned int column = 0; column + 1 < columns; ++column) {
                const unsigned int corner = row * columns + column;
                corners.insert(corners.end(),
                               {corner, corner + 1, corner + columns + 1, corner + columns});
            }
        }
        return corners;
    }

private:
    void exchangeRows() {
        constexpr int count = columns;
        float* const lowest = values_.data() + columns;
        float* const highest = values_.data() + std::size_t{columns} * rowCount();
        const int below = rank_ > 0 ? static_cast<int>(rank_) - 1 : MPI_PROC_NULL;
        const int above = rank_ + 1 < ranks_ ? static_cast<int>(rank_) + 1 : MPI_PROC_NULL;
        std::copy_n(lowest, columns, lowest - columns);
        std::copy_n(highest, columns, highest + columns);
        MPI_Sendrecv(lowest, count, MPI_FLOAT, below, 0, highest + columns, count, MPI_FLOAT, above,
                     0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
        MPI_Sendrecv(highest, count, MPI_FLOAT, above, 0, lowest - columns, count, MPI_FLOAT, below,
                     0, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
    }

    unsigned int rank_;
    unsigned int ranks_;
    unsigned int first_;
    unsigned int end_;
    std::vector<float> values_;
};

void run(const std::string& path) {
    ParallelModel model(MPI_COMM_WORLD);
    SaverOptions options;
    options.overwrite = true;
    options.journal = true; // for the checkpoints
    options.toolName = "heat";
    model.saveTo(path, options);

    Plate plate(static_cast<unsigned int>(model.rank()), static_cast<unsigned int>(model.size()));
    const Array1d<unsigned int> corners = plate.corners();
    model.addNode(NodeType::RootGroup, "plate");
    const unsigned int mesh = model.addNode(NodeType::Shape, "elements");
    model.addArrayProperty(DatasetType::Coordinates, plate.points(), mesh, Step{});
    model.addArrayProperty(DatasetType::Connectivity1, corners, mesh, Step{});
    model.addArrayProperty(DatasetType::Polylength1, Array1d<unsigned int>(corners.size() / 4, 4U),
                           mesh, Step{});

    for (unsigned int number = 1; number <= steps; ++number) {
        for (unsigned int iteration = 0; iteration < iterationsPerStep; ++iteration) {
            plate.iterate();
        }
        Step step{std::to_string(number)};
        step.attributes.set("Time", static_cast<float>(number));
        model.addArrayProperty("Temperature", DatasetType::ResultA1, plate.temperature(), mesh,
                               step);
        if (number % stepsPerCheckpoint == 0) {
            model.checkpoint();
        }
    }
    model.close();
}

} // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    int result = 0;
    try {
        run(argc > 1 ? argv[1] : "heat.mek");
    } catch (const std::exception& error) { // the same on all ranks
        std::cerr << "heat: " << error.what() << '\n';
        result = 1;
    }
    MPI_Finalize();
    return result;
}
