// Measures `ParallelModel`: writes arrays that are distributed over the ranks, and prints one row
// of a table, for one array: ranks; seconds; processor seconds of the compression on the slowest
// rank; processor seconds that rank 0 needs to join the compressed parts and write them; percentage
// of both that is rank 0's; MB/s; peak memory of rank 0 and of the other ranks, which includes the
// rows of the rank. Processor seconds depend little on the load of the machine.
//
// Usage: mpiexec -n RANKS ranks FILE [MB_PER_ARRAY [ARRAYS [MB_PER_BLOCK]]]
#include <tyr/mek2/mpi.hpp>
#include <tyr/mek2/packedarray.hpp>

#include <sys/resource.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

using namespace Tyr::Mek2;

namespace {

constexpr std::size_t width = 3;

/// The rows that one rank has of a smooth field.
Array2d<float> rowsOf(int rank, int ranks, std::size_t allRows, unsigned int number) {
    const std::size_t first = allRows * static_cast<std::size_t>(rank) / ranks;
    const std::size_t end = allRows * (static_cast<std::size_t>(rank) + 1) / ranks;
    Array2d<float> rows(end - first, width);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const auto at = static_cast<double>(width * first + i);
        rows.data()[i] = static_cast<float>(std::sin(at * 1e-4 + number));
    }
    return rows;
}

/// The most memory that this process has had so far, in MB.
double peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024 / 1e6;
}

double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

/// Of the compression on the slowest rank.
double compressionSeconds(const Array2d<float>& share) {
    const double start = processorSeconds();
    PackedArray{share};
    double seconds = processorSeconds() - start;
    MPI_Allreduce(MPI_IN_PLACE, &seconds, 1, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
    return seconds;
}

/// Of rank 0 for compressed parts of all ranks.
double appendingSeconds(const std::string& path, int ranks, std::size_t allRows) {
    std::vector<PackedArray> parts;
    for (int rank = 0; rank < ranks; ++rank) {
        parts.emplace_back(rowsOf(rank, ranks, allRows, 0));
    }
    const double start = processorSeconds();
    Model model;
    model.saveTo(path, SaverOptions{true});
    model.addNode(NodeType::RootGroup, "R");
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    model.addArrayProperty("field", DatasetType::ResultA3, PackedArray::concatenate(parts), id,
                           Step{});
    model.close();
    return processorSeconds() - start;
}

/// @param blockSize in MB; 0: the default
void measure(const std::string& path, std::size_t megabytes, unsigned int arrays,
             std::uint32_t blockSize) {
    ParallelModel model(MPI_COMM_WORLD);
    SaverOptions options{true};
    options.blockSize = blockSize * 1'000'000;
    model.saveTo(path, options);
    model.addNode(NodeType::RootGroup, "R");
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    const std::size_t rows = megabytes * 1'000'000 / (width * sizeof(float));
    double all = 0;
    for (unsigned int number = 0; number < arrays; ++number) {
        const Array2d<float> share = rowsOf(model.rank(), model.size(), rows, number);
        MPI_Barrier(MPI_COMM_WORLD);
        const double start = MPI_Wtime();
        model.addArrayProperty("field", DatasetType::ResultA3, share, id,
                               Step{std::to_string(number)});
        all += MPI_Wtime() - start;
    }
    const double start = MPI_Wtime();
    model.close();
    all = (all + MPI_Wtime() - start) / arrays;
    const double memory = peakMemory();
    double memoryOfOthers = model.rank() != 0 ? memory : 0;
    MPI_Allreduce(MPI_IN_PLACE, &memoryOfOthers, 1, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
    const double compression =
        compressionSeconds(rowsOf(model.rank(), model.size(), rows, arrays - 1));
    if (model.rank() == 0) {
        const double appending = appendingSeconds(path, model.size(), rows);
        std::printf("| %d | %.2f | %.2f | %.3f | %.1f %% | %.0f | %.0f | %.0f |\n", model.size(),
                    all, compression, appending, 100 * appending / (compression + appending),
                    static_cast<double>(megabytes) / all, memory, memoryOfOthers);
    }
}

} // namespace

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    int result = 0;
    try {
        measure(argc > 1 ? argv[1] : "ranks.mek",
                argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 60,
                argc > 3 ? static_cast<unsigned int>(std::strtoul(argv[3], nullptr, 10)) : 3,
                argc > 4 ? static_cast<std::uint32_t>(std::strtoul(argv[4], nullptr, 10)) : 0);
    } catch (const std::exception& error) {
        std::cerr << "ranks: " << error.what() << '\n';
        result = 1;
    }
    MPI_Finalize();
    return result;
}
