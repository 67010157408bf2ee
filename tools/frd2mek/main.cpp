/// @file
/// frd2mek: converts a result file of the solver to a model file.

#include "commandline.hpp"
#include "console/count.hpp"
#include "console/error.hpp"
#include "console/inputfile.hpp"
#include "console/program.hpp"
#include "converter.hpp"
#include "frd/formaterror.hpp"

#include <tyr/exception/exception.hpp>

#include <iostream>
#include <stdexcept>
#include <string>

namespace {

void print(const std::filesystem::path& output, const Frd::Summary& summary) {
    using Console::counted;
    std::cout << output.u8string() << ": " << counted(summary.nodes, "node") << ", "
              << counted(summary.elements, "element") << ", " << counted(summary.shapes, "shape")
              << ", " << counted(summary.results, "result") << ", "
              << counted(summary.steps, "step") << ", " << counted(summary.bytesIn, "byte")
              << " in, " << counted(summary.bytesOut, "byte") << " out\n";
}

int convert(const Frd::CommandLine& commandLine, const Console::Program& program) {
    Console::checkInputFile(commandLine.input(), Console::FileFormat::ResultFile);
    try {
        const Frd::Summary summary =
            Frd::convert(commandLine.input(), commandLine.output(), commandLine.options);
        for (const std::string& warning : summary.warnings) {
            program.report(commandLine.inputName + ": warning: " + warning);
        }
        print(commandLine.output(), summary);
        return Console::exitDone;
    } catch (const Frd::FormatError& error) {
        throw std::runtime_error(commandLine.inputName + ":" + std::to_string(error.line()) + ": " +
                                 error.what());
    } catch (const Tyr::Exception::Exception& error) {
        throw Console::FileError(commandLine.output(), error.what());
    }
}

} // namespace

int main(int count, char** arguments) {
    Console::Program program("frd2mek", Frd::purpose, Frd::notes);
    Frd::CommandLine commandLine;
    Frd::declareOptions(program.commandLine(), commandLine);
    return program.run(count, arguments, [&] { return convert(commandLine, program); });
}
