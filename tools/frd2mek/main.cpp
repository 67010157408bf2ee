/// @file
/// frd2mek: converts a result file of the solver to a model file.

#include "commandline.hpp"
#include "console/arguments.hpp"
#include "converter.hpp"
#include "frd/formaterror.hpp"

#include <tyr/exception/exception.hpp>

#include <cstdlib>
#include <exception>
#include <iostream>

namespace {

constexpr int exitUsage = 2;

void print(const std::filesystem::path& output, const Frd::Summary& summary) {
    std::cout << output.u8string() << ": " << summary.nodes << " nodes, " << summary.elements
              << " elements, " << summary.shapes << " shapes, " << summary.results << " results, "
              << summary.steps << " steps, " << summary.bytesIn << " bytes in, " << summary.bytesOut
              << " bytes out" << std::endl;
}

int convert(const Frd::CommandLine& commandLine) {
    try {
        print(commandLine.output,
              Frd::convert(commandLine.input, commandLine.output, commandLine.overwrite));
        return EXIT_SUCCESS;
    } catch (const Frd::FormatError& error) {
        std::cerr << "frd2mek: " << commandLine.input.u8string() << ":" << error.line() << ": "
                  << error.what() << '\n';
    } catch (const Tyr::Exception::Exception& error) {
        std::cerr << "frd2mek: " << commandLine.output.u8string() << ": " << error.what() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "frd2mek: " << error.what() << '\n';
    }
    return EXIT_FAILURE;
}

} // namespace

int main(int count, char** arguments) {
    try {
        const Frd::CommandLine commandLine =
            Frd::parseCommandLine(Console::arguments(count, arguments));
        switch (commandLine.task) {
            case Frd::Task::ShowHelp:
                std::cout << Frd::usage;
                return EXIT_SUCCESS;
            case Frd::Task::ShowVersion:
                std::cout << "frd2mek " FRD2MEK_VERSION "\n";
                return EXIT_SUCCESS;
            case Frd::Task::Convert:
                return convert(commandLine);
        }
    } catch (const Frd::UsageError& error) {
        std::cerr << "frd2mek: " << error.what() << "\n\n" << Frd::usage;
    }
    return exitUsage;
}
