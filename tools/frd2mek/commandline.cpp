#include "commandline.hpp"

namespace Frd {

const char* const purpose =
    "Converts a result file of the finite-element solver CalculiX to a model file.";

const char* const notes =
    "Exit codes:\n"
    "  0  the file is converted; one line on standard output gives its numbers\n"
    "  1  the input is invalid, or the output cannot be written\n"
    "  2  the arguments are invalid\n"
    "\n"
    "Examples:\n"
    "  frd2mek beam.frd                        writes beam.mek\n"
    "  frd2mek beam.frd out.mek --overwrite    replaces out.mek\n"
    "  frd2mek --salvage killed.frd            converts what the solver has finished";

std::filesystem::path CommandLine::output() const {
    return outputName.empty() ? input().replace_extension("mek")
                              : std::filesystem::u8path(outputName);
}

namespace {

std::string requireThreads(const std::string& value) {
    constexpr int most = 1024;
    int number = 0;
    const bool isValid = CLI::detail::lexical_cast(value, number) && number >= 0 && number <= most;
    return isValid ? std::string() : "needs a number from 0 to 1024";
}

} // namespace

void declareOptions(CLI::App& app, CommandLine& values) {
    app.add_option("INPUT.frd", values.inputName, "the result file")->required();
    app.add_option("OUTPUT.mek", values.outputName,
                   "the model file; by default the path of the input with the suffix .mek");
    app.add_flag("--overwrite", values.options.overwrite, "replace OUTPUT.mek if it exists");
    app.add_flag("--salvage", values.options.salvage,
                 "convert what is complete in an unfinished file");
    app.add_option("--threads", values.options.threads,
                   "compress on N threads; 0, the default: one per processor")
        ->type_name("N")
        ->check(requireThreads);
}

} // namespace Frd
