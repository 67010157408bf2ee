/// @file
/// Writes a workload with this library, as an application does. The variant is the number of
/// threads; without one, blocks are compressed as a whole on the calling thread.

#include "compare/writer.hpp"

#include <tyr/mek2/model.hpp>
#include <tyr/mek2/threads.hpp>

#include <string>
#include <variant>

namespace {

using namespace Tyr::Mek2;

/// The array class for the kind and the width of a dataset.
class ArrayInput {
public:
    explicit ArrayInput(const Bench::Dataset& dataset) {
        if (dataset.kind == Bench::Kind::Connectivity) {
            array.emplace<Array1d<unsigned int>>(dataset.rows);
        } else if (dataset.width == 1) {
            array.emplace<Array1d<float>>(dataset.rows);
        } else {
            array.emplace<Array2d<float>>(dataset.rows, dataset.width);
        }
        fill(dataset);
    }

    void fill(const Bench::Dataset& dataset) {
        std::visit([&](auto& values) { dataset.fill(firstOf(values)); }, array);
    }

    std::variant<Array1d<float>, Array1d<unsigned int>, Array2d<float>> array;

private:
    template <class T>
    static T* firstOf(Array1d<T>& values) {
        return &values[0];
    }
    template <class T>
    static T* firstOf(Array2d<T>& values) {
        return &values(0, 0);
    }
};

DatasetType typeOf(Bench::Kind kind) {
    switch (kind) {
        case Bench::Kind::Coordinates:
            return DatasetType::Coordinates;
        case Bench::Kind::Connectivity:
            return DatasetType::Connectivity0;
        case Bench::Kind::Displacement:
            return DatasetType::Displacement3;
        case Bench::Kind::Stress:
            return DatasetType::ResultA6;
        default:
            return DatasetType::ResultA1;
    }
}

class Library {
public:
    using Input = ArrayInput;

    Library(const std::string& path, const std::string& threads) {
        SaverOptions options;
        options.overwrite = true;
        if (!threads.empty()) {
            options.parallelFor =
                parallelForThreads(static_cast<unsigned int>(std::stoul(threads)));
        }
        model_.saveTo(path, options);
        model_.addNode(NodeType::RootGroup, "model");
        geometry_ = model_.addNode(NodeType::Shape, "part");
    }

    void add(const Bench::Dataset& dataset, Input& input) {
        std::visit(
            [&](const auto& values) {
                model_.addArrayProperty(dataset.name(), typeOf(dataset.kind), values, geometry_,
                                        Step{dataset.step()});
            },
            input.array);
    }

    void close() { model_.close(); }

private:
    Model model_;
    unsigned int geometry_ = 0;
};

} // namespace

int main(int argc, char** argv) { return Bench::writerMain<Library>(argc, argv); }
