// Prints the largest value of each result at nodes or elements, with its shape and step.
//
// Usage: maximum_of_results FILE
#include <mekreader/error.hpp>
#include <mekreader/navigation.hpp>
#include <mekreader/variables.hpp>

#include <algorithm>
#include <iostream>
#include <vector>

namespace {

void printMaximum(MekReader::File& file, const MekReader::Node& node,
                  const MekReader::Variable& variable) {
    const bool isResult = MekReader::isNodeResult(variable) || MekReader::isElementResult(variable);
    if (!isResult || file.hasCircularLinks(variable) ||
        file.owner(variable).elementType != MekReader::Variable::floatElements) { // ids
        return;
    }
    const std::vector<float> values =
        file.floats(variable); // reads and decompresses this array only
    const auto largest = std::max_element(values.begin(), values.end());
    if (largest == values.end()) {
        return;
    }
    const MekReader::VariableName name = MekReader::splitName(variable.name);
    std::cout << MekReader::pathOf(file, node) << ' ' << name.quantity;
    if (name.step) {
        std::cout << ", step " << *name.step;
    }
    std::cout << ": " << *largest << '\n';
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: maximum_of_results FILE\n";
        return 2;
    }
    MekReader::File file(argv[1]); // reads the tree, but no array
    for (const MekReader::Node& node : file.nodes()) {
        for (const MekReader::Variable& variable : node.variables) {
            printMaximum(file, node, variable);
        }
    }
} catch (const MekReader::Error& error) { // the message gives the place in the file
    std::cerr << "maximum_of_results: " << error.what() << '\n';
    return 1;
}
