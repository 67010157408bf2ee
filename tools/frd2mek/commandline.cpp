#include "commandline.hpp"

namespace Frd {

const char* const usage =
    "Usage: frd2mek INPUT.frd [OUTPUT.mek] [--overwrite]\n"
    "\n"
    "Converts a text result file of the finite-element solver CalculiX to a model file. The "
    "default\n"
    "output is the path of the input with the suffix .mek.\n"
    "\n"
    "  --overwrite  replace OUTPUT.mek if it exists\n"
    "  --help       show this help\n"
    "  --version    show the version\n"
    "\n"
    "Exit code: 0 converted, 1 error, 2 invalid arguments.\n";

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine result;
    std::vector<std::string> paths;
    bool areOptionsOver = false;
    for (const std::string& argument : arguments) {
        if (areOptionsOver || argument.substr(0, 1) != "-") {
            paths.push_back(argument);
        } else if (argument == "--") {
            areOptionsOver = true;
        } else if (argument == "--overwrite") {
            result.overwrite = true;
        } else if (argument == "--help" || argument == "-h") {
            result.task = Task::ShowHelp;
        } else if (argument == "--version") {
            result.task = Task::ShowVersion;
        } else {
            throw UsageError("unknown option " + argument);
        }
    }
    if (result.task != Task::Convert) {
        return result;
    }
    if (paths.empty() || paths.size() > 2 || paths.front().empty() || paths.back().empty()) {
        throw UsageError(paths.size() > 2 ? "too many arguments" : "no input file given");
    }
    result.input = std::filesystem::u8path(paths.front());
    result.output = paths.size() == 2
                        ? std::filesystem::u8path(paths.back())
                        : std::filesystem::path(result.input).replace_extension("mek");
    return result;
}

} // namespace Frd
