/// Writes a fixed set of models, for the comparison of files from different systems.
#include <tyr/mek2/model.hpp>

#include "support/environment.hpp"
#include "support/everything.hpp"

#include <cstdint>
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

void writeArrays(Model& model, std::size_t rows) {
    const auto ids = model.addAssemblyComponents(std::vector<std::string>{"/r/a", "/r/b"});
    Numbers numbers;
    model.addArrayProperty(DatasetType::Coordinates, numbers.table(rows, 3), ids, Step{});
    model.addArrayProperty(DatasetType::Connectivity0, numbers.column(3 * rows), ids[0], Step{});
    for (unsigned int number = 0; number < 10; ++number) {
        model.addArrayProperty("stress", DatasetType::ResultA6, numbers.table(rows / 8, 6), ids,
                               Step{std::to_string(number)});
    }
    model.close();
}

void writeEverything(Model& model) {
    Testing::Everything().addTo(model);
    model.close();
}

void write(const std::string& folder) {
    Model model;
    model.saveTo(folder + "/empty.mek", options());
    model.close();
    model.saveTo(folder + "/everything.mek", options());
    writeEverything(model);
    model.saveTo(folder + "/arrays.mek", options());
    writeArrays(model, 400000);
    const std::wstring wideFolder(folder.begin(), folder.end());
    model.saveTo(wideFolder + L"/\x039B\x03CC\x03B3\x03BF\x03C2 \x65E5\x672C \U0001F4D0.mek",
                 options());
    writeEverything(model);
    Testing::setEnvironment("MEKWRITER_DEFAULT_BLOCK_SIZE", "300");
    model.saveTo(folder + "/blocks.mek", options());
    writeEverything(model);
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
