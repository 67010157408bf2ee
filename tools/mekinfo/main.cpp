/// Shows what a container holds, or checks it against every rule of the format.
#include "console/arguments.hpp"
#include "mekinfo/print.hpp"
#include "mekreader/failure.hpp"
#include "mekreader/model.hpp"

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr int exitWrong = 1;
constexpr int exitUsage = 2;

constexpr const char* usage =
    "usage: mekinfo FILE           show head, blocks, tree and variables\n"
    "       mekinfo --check FILE   verify every rule of the format\n";

std::uint64_t countVariables(const MekReader::File& file) {
    std::uint64_t count = 0;
    for (const MekReader::Node& node : file.nodes()) {
        count += node.variables.size();
    }
    return count;
}

void check(const std::string& name) {
    const auto path = std::filesystem::u8path(name);
    MekReader::check(path);
    const MekReader::File file(path);
    std::cout << name << ": right, " << file.container().fileSize() << " bytes, "
              << file.nodes().size() << " nodes, " << countVariables(file) << " variables\n";
}

void show(const std::string& name) {
    MekReader::File file(std::filesystem::u8path(name));
    MekInfo::print(std::cout, file);
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
        std::cout << usage;
        return 0;
    }
    const bool isCheck = arguments.size() == 2 && arguments[0] == "--check";
    if (!isCheck && (arguments.size() != 1 || arguments[0].substr(0, 1) == "-")) {
        std::cerr << usage;
        return exitUsage;
    }
    try {
        isCheck ? check(arguments[1]) : show(arguments[0]);
    } catch (const std::exception& failure) {
        std::cerr << "mekinfo: " << arguments.back() << ": " << failure.what() << '\n';
        return exitWrong;
    }
    std::cout.flush();
    return std::cout ? 0 : exitWrong;
}

} // namespace

int main(int argc, char** argv) { return run(Console::arguments(argc, argv)); }
