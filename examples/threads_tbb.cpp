// Compresses on the threads of oneTBB.
//
// Usage: threads_tbb [FILE]
#include "wave.hpp"

#include <tbb/parallel_for.h>

#include <cstddef>
#include <functional>

static void parallelForTbb(std::size_t count, const std::function<void(std::size_t)>& task) {
    tbb::parallel_for(std::size_t{0}, count, task);
}

int main(int argc, char** argv) {
    return runExample(argc, argv, "threads_tbb.mek", parallelForTbb);
}
