#include "scale/workloads.hpp"

#include "support/measure.hpp"

#include <tyr/mek2/model.hpp>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <stdexcept>

namespace Bench {

namespace {

using namespace Tyr::Mek2;

const std::string root = "model";

/// "/model/part 17"
std::string flatPath(std::uint32_t number) {
    return '/' + root + "/part " + std::to_string(number);
}

/// "/model/0/0/0/0/1/7": seven levels, ten children each.
std::string deepPath(std::uint32_t number) {
    std::string path;
    for (int level = 0; level < 6; ++level) {
        path.insert(0, {'/', static_cast<char>('0' + number % 10)});
        number /= 10;
    }
    return '/' + root + path;
}

std::vector<std::string> paths(std::uint32_t count, std::string (*pathOf)(std::uint32_t)) {
    std::vector<std::string> all;
    all.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        all.push_back(pathOf(i));
    }
    return all;
}

void open(Model& model, const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    model.saveTo(path, options);
}

/// Opens a file, adds one shape and returns the id of its geometry.
unsigned int openWithGeometry(Model& model, const std::string& path) {
    open(model, path);
    model.addNode(NodeType::RootGroup, root);
    return model.addNode(NodeType::Shape, "part");
}

void addGroups(Model& model, std::uint32_t count) {
    model.addNode(NodeType::RootGroup, root);
    for (std::uint32_t i = 0; i < count; ++i) {
        model.addNode(NodeType::Group, "part " + std::to_string(i));
        model.moveToParentNode();
    }
}

double groups(std::uint32_t count, const std::string& path) {
    return processorSecondsOf([&] {
        Model model;
        open(model, path);
        addGroups(model, count);
        model.close();
    });
}

double shapes(const std::vector<std::string>& all, const std::string& path) {
    return processorSecondsOf([&] {
        Model model;
        open(model, path);
        model.addAssemblyComponents(all);
        model.close();
    });
}

/// Looks up each path once.
double lookUps(Model& model, const std::vector<std::string>& all) {
    return processorSecondsOf([&] {
        for (const std::string& path : all) {
            if (model.getNodeId(path, "/") == 0) {
                throw std::runtime_error("no node " + path);
            }
        }
    });
}

double groupLookUps(std::uint32_t count, const std::string& path) {
    Model model;
    open(model, path);
    addGroups(model, count);
    return lookUps(model, paths(count, flatPath));
}

double shuffledGroupLookUps(std::uint32_t count, const std::string& path) {
    Model model;
    open(model, path);
    addGroups(model, count);
    std::vector<std::string> all = paths(count, flatPath);
    std::shuffle(all.begin(), all.end(), std::mt19937{});
    // a copy has its strings in this order in memory, so that only the order of the nodes is random
    return lookUps(model, std::vector<std::string>(all));
}

double shapeLookUps(const std::vector<std::string>& all, const std::string& path) {
    Model model;
    open(model, path);
    model.addAssemblyComponents(all);
    return lookUps(model, all);
}

Step numberedStep(std::uint32_t number) { return Step{"Step " + std::to_string(number)}; }

double linkedSteps(std::uint32_t count, const std::string& path) {
    StepList steps(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        steps.set(i, numberedStep(i));
    }
    const Array1d<float> values(100, 1.0F);
    return processorSecondsOf([&] {
        Model model;
        const unsigned int geometry = openWithGeometry(model, path);
        model.addArrayProperty("Temperature", DatasetType::ResultA1, values, geometry, steps);
        model.close();
    });
}

/// Writes `count` arrays of `length` values, each for a new step.
double arrays(std::uint32_t count, std::uint32_t length, const std::string& path) {
    Array1d<float> values(length, 1.0F);
    return processorSecondsOf([&] {
        Model model;
        const unsigned int geometry = openWithGeometry(model, path);
        for (std::uint32_t i = 0; i < count; ++i) {
            values[0] = static_cast<float>(i);
            model.addArrayProperty("Temperature", DatasetType::ResultA1, values, geometry,
                                   numberedStep(i));
        }
        model.close();
    });
}

double steps(std::uint32_t count, const std::string& path) { return arrays(count, 10, path); }

/// Writes `count` arrays that fill one block each.
double blocks(std::uint32_t count, const std::string& path) {
    constexpr std::uint32_t limit = 4096;
    setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", std::to_string(limit).c_str(), 1);
    return arrays(count, limit / sizeof(float), path);
}

/// A workload on the paths that `pathOf` returns.
template <class Run>
auto onPaths(Run run, std::string (*pathOf)(std::uint32_t)) {
    return [run, pathOf](std::uint32_t count, const std::string& path) {
        return run(paths(count, pathOf), path);
    };
}

} // namespace

std::vector<ScaleWorkload> scaleWorkloads() {
    const std::vector<std::uint32_t> upToMillion = {10000, 100000, 1000000};
    return {
        {"groups by addNode", groups, upToMillion},
        {"getNodeId of each group", groupLookUps, upToMillion},
        {"getNodeId of each group, random order", shuffledGroupLookUps, upToMillion},
        {"shapes by flat paths", onPaths(shapes, flatPath), upToMillion},
        {"getNodeId of each flat path", onPaths(shapeLookUps, flatPath), upToMillion},
        {"shapes by deep paths", onPaths(shapes, deepPath), upToMillion},
        {"getNodeId of each deep path", onPaths(shapeLookUps, deepPath), upToMillion},
        {"steps linked to one array", linkedSteps, upToMillion},
        {"steps with one array each", steps, upToMillion},
        {"blocks of 4096 bytes", blocks, {1000, 10000, 100000}},
    };
}

} // namespace Bench
