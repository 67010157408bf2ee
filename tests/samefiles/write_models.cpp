/// Writes a fixed set of models, for the comparison of files from different systems.
#include <tyr/mek2/model.hpp>

#include "support/environment.hpp"

#include <cstdint>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;

SaverOptions options() {
    SaverOptions options;
    options.toolName = "write_models";
    options.toolVersion = "1";
    return options;
}

/// The same numbers on every system: smooth ones with noise in their low bits.
class Numbers {
public:
    std::uint32_t next() {
        state_ = state_ * 1664525U + 1013904223U;
        return 100 * ++count_ + (state_ >> 26);
    }
    Array1d<unsigned int> column(std::size_t rows) {
        Array1d<unsigned int> values(rows);
        for (std::size_t row = 0; row < rows; ++row) {
            values[row] = next();
        }
        return values;
    }
    Array2d<float> table(std::size_t rows, std::size_t columns) {
        Array2d<float> values(rows, columns);
        for (std::size_t i = 0; i < rows * columns; ++i) {
            values(i / columns, i % columns) = static_cast<float>(next()) / 1024.0F;
        }
        return values;
    }

private:
    std::uint32_t state_ = 1;
    std::uint32_t count_ = 0;
};

/// All 32-bit patterns that a floating-point unit might change on its way.
Array1d<float> specialFloats() {
    const std::vector<std::uint32_t> patterns = {0x7F800001, 0xFFC12345, 0x7F800000, 0xFF800000,
                                                 0x80000000, 0x00000001, 0x807FFFFF, 0x7F7FFFFF};
    std::vector<float> values(patterns.size());
    std::memcpy(values.data(), patterns.data(), patterns.size() * sizeof(float));
    Array1d<float> array(values.size());
    array.copy_from(values.data());
    return array;
}

void writeEmpty(Model& model) {
    model.close();
}

void writeTree(Model& model) {
    Attributes attributes;
    attributes.set("unsigned", 4000000000U);
    attributes.set("int", -1);
    attributes.set("float", 0.1F);
    attributes.set("text", "line\nend \xC3\xA9\x1A");
    model.addNode(NodeType::FlaggedRootGroup, "root", attributes);
    const auto ids = model.addAssemblyComponents(
        std::vector<std::string>{"/root/part/", "/root/part/body", "/root/\xCE\x9B/skin"});
    NodeProperties placement;
    placement.set(PropertyType::Translation, std::vector<float>{0.1F, -2, 3e30F});
    model.setNodeData(ids[0], placement);
    NodeProperties look;
    look.set(PropertyType::DiffuseColor, std::vector<float>{0.2F, 0.4F, 0.6F});
    look.set(PropertyType::AmbientIntensity, 0.3F);
    model.setNodeData(ids[1], look);
    model.close();
}

void writeArrays(Model& model, std::size_t rows, unsigned int steps) {
    model.addNode(NodeType::RootGroup, "r");
    const unsigned int first = model.addNode(NodeType::Shape, "a");
    model.setCurrentNodeId(1);
    const Array1d<unsigned int> both({first, model.addNode(NodeType::Shape, "b")});
    Numbers numbers;
    model.addArrayProperty(DatasetType::Coordinates, numbers.table(rows, 3), both, Step{});
    model.addArrayProperty(DatasetType::Connectivity0, numbers.column(3 * rows), first, Step{});
    model.addArrayProperty("special", DatasetType::ResultA1, specialFloats(), first, Step{});
    for (unsigned int number = 0; number < steps; ++number) {
        Step step{std::to_string(number)};
        step.attributes.set("Time", 0.1F * static_cast<float>(number));
        model.addArrayProperty("stress", DatasetType::ResultA6, numbers.table(rows / 8, 6), both,
                               step);
    }
    model.close();
}

void write(const std::string& folder) {
    Model model;
    model.saveTo(folder + "/empty.mek", options());
    writeEmpty(model);
    model.saveTo(folder + "/tree.mek", options());
    writeTree(model);
    model.saveTo(folder + "/arrays.mek", options());
    writeArrays(model, 400000, 10);
    const std::wstring wideFolder(folder.begin(), folder.end());
    model.saveTo(wideFolder + L"/\x039B\x03CC\x03B3\x03BF\x03C2 \x65E5\x672C \U0001F4D0.mek",
                 options());
    writeArrays(model, 10, 1);
    Testing::setEnvironment("MEKWRITER_DEFAULT_BLOCK_SIZE", "300");
    model.saveTo(folder + "/blocks.mek", options());
    writeArrays(model, 100, 500);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_models FOLDER\n";
        return 2;
    }
    try {
        write(argv[1]);
    } catch (const std::exception& failure) {
        std::cerr << "write_models: " << failure.what() << '\n';
        return 1;
    }
}
