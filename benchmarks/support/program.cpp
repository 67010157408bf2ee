#include "support/program.hpp"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <system_error>

namespace Bench {

int runProgram(int argc, char** argv, Options& options, const std::vector<SpecialOption>& special,
               const std::function<void()>& measure) {
    const std::string name = std::filesystem::path(argv[0]).filename().string();
    CLI::App app("Measures, and prints tables in Markdown.", name);
    std::error_code ignored;
    std::string folder = std::filesystem::temp_directory_path(ignored).string();
    app.add_option("--rounds", options.rounds, "measurements of which the result is taken")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--folder", folder, "an existing folder for the written files")
        ->check(CLI::ExistingDirectory)
        ->capture_default_str();
    app.add_option("--figures", options.figures, "a file to which single figures are appended");
    for (const SpecialOption& option : special) {
        app.add_option(option.name, option.value, option.description);
    }
    CLI11_PARSE(app, argc, argv);
    options.folder = folder;
    try {
        measure();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << name << ": " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}

} // namespace Bench
