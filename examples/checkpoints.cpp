// A solver with checkpoints that is killed, and the recovery of its results. For Linux.
//
// The program starts a second process as the solver, kills it after the third of ten steps, and
// makes a complete file of what it has left. Another program does the same with
//
//     mekrecover --output FILE FILE.unfinished
//
// Usage: checkpoints [FILE]
#include <tyr/mek2/model.hpp>
#include <tyr/mek2/recovery.hpp>

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

using namespace Tyr::Mek2;

namespace {

constexpr unsigned int points = 1000;
constexpr unsigned int steps = 10;
constexpr unsigned int stepsUntilKill = 3;

unsigned int addString(Model& model) {
    Array2d<float> nodes(points, 3);
    Array1d<unsigned int> corners(points);
    for (unsigned int i = 0; i < points; ++i) {
        nodes(i, 0) = static_cast<float>(i) / points;
        corners[i] = i;
    }
    model.addNode(NodeType::RootGroup, "string");
    const unsigned int line = model.addNode(NodeType::Shape, "line");
    model.addArrayProperty(DatasetType::Coordinates, nodes, line, Step{});
    model.addArrayProperty(DatasetType::Connectivity0, corners, line, Step{});
    model.addArrayProperty(DatasetType::Polylength0, Array1d<unsigned int>{points}, line, Step{});
    return line;
}

Array1d<float> solve(unsigned int number) {
    Array1d<float> deflection(points);
    for (unsigned int i = 0; i < points; ++i) {
        deflection[i] = std::sin(3.14159265F * static_cast<float>(number * i) / points);
    }
    return deflection;
}

// Everything up to the last checkpoint survives any end of the process.
void runSolver(const std::string& path) {
    SaverOptions options;
    options.overwrite = true; // also of what an earlier run has left
    options.journal = true;
    options.toolName = "checkpoints";
    Model model;
    model.saveTo(path, options);
    const unsigned int line = addString(model);
    for (unsigned int number = 1; number <= steps; ++number) {
        Step step{std::to_string(number)};
        step.attributes.set("Time", static_cast<float>(number));
        model.addArrayProperty("Deflection", DatasetType::ResultA1, solve(number), line, step);
        model.checkpoint();
        if (number == stepsUntilKill) {
            kill(getpid(), SIGKILL); // as the system does when memory runs out
        }
    }
    model.close();
}

bool isKilled(pid_t process) {
    int status = 0;
    return waitpid(process, &status, 0) == process && WIFSIGNALED(status);
}

void run(const std::string& path) {
    const std::string unfinished = path + ".unfinished";
    const pid_t solver = fork();
    if (solver == 0) {
        runSolver(unfinished);
        _exit(0);
    }
    if (!isKilled(solver)) {
        throw std::runtime_error("the solver was not killed");
    }
    const RecoveryReport report = recover(unfinished, path, true);
    std::cout << "recovered " << report.saved.steps << " of " << steps << " steps\n";
    if (!report.isComplete()) {
        std::cout << "lost " << report.lost.arrays << " arrays: " << report.reason << '\n';
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? argv[1] : "checkpoints.mek");
    } catch (const std::exception& error) {
        std::cerr << "checkpoints: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
