// Compresses on the threads of OpenMP.
//
// Usage: threads_openmp [FILE]
#include "wave.hpp"

#include <cstddef>
#include <functional>

static void parallelForOpenMp(std::size_t count, const std::function<void(std::size_t)>& task) {
    const auto end = static_cast<std::ptrdiff_t>(count);
#pragma omp parallel for schedule(dynamic)
    for (std::ptrdiff_t i = 0; i < end; ++i) {
        task(static_cast<std::size_t>(i));
    }
}

int main(int argc, char** argv) {
    return runExample(argc, argv, "threads_openmp.mek", parallelForOpenMp);
}
