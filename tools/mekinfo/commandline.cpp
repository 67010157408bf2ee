#include "mekinfo/commandline.hpp"

#include <map>

namespace MekInfo {

namespace {

const std::map<std::string, ArrayFormat> formats = {
    {"csv", ArrayFormat::Csv}, {"npy", ArrayFormat::Npy}, {"raw", ArrayFormat::Raw}};

/// An option excludes those of the other sets.
void excludeEachOther(const std::vector<std::vector<CLI::Option*>>& sets) {
    for (std::size_t i = 0; i < sets.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            for (CLI::Option* const option : sets[i]) {
                for (CLI::Option* const other : sets[j]) {
                    option->excludes(other);
                }
            }
        }
    }
}

CLI::Option* declareArrayOptions(CLI::App& app, ArrayOptions& values) {
    CLI::Option* const array =
        app.add_option("--array", values.pathAndVariable,
                       "print an array of the node at PATH, such as /plate/surface")
            ->type_name("PATH VARIABLE");
    app.add_option("--step", values.step, "with --array: the array of this step")
        ->type_name("NAME")
        ->needs(array);
    app.add_option_function<std::string>(
           "--format", [&values](const std::string& name) { values.format = formats.at(name); },
           "with --array: text (by default), NumPy's format, or little-endian bytes")
        ->check(CLI::IsMember(&formats).description(""))
        ->type_name("csv|npy|raw")
        ->needs(array);
    CLI::Option* const output =
        app.add_option("--output", values.outputName,
                       "with --array: write to this file, not to standard output")
            ->type_name("FILE")
            ->needs(array);
    app.add_flag("--overwrite", values.overwrite, "with --output: replace the file if it exists")
        ->needs(output);
    return array;
}

} // namespace

const char* const purpose =
    "Shows the content of model files, checks them, or exports them for scripts, VTK and "
    "ParaView.\n"
    "Without options it shows a summary.";

const char* const notes =
    "Exit codes:\n"
    "  0  done; with --check and --lint: all files are valid, and nothing was found\n"
    "  1  a file is invalid or cannot be read, --lint found something, the file does not have the\n"
    "     array, or an output cannot be written\n"
    "  2  the arguments are invalid\n"
    "\n"
    "Examples:\n"
    "  mekinfo beam.mek                 shows a summary of beam.mek\n"
    "  mekinfo --all beam.mek           shows all of it but the arrays\n"
    "  mekinfo --check --lint *.mek     verifies the files and checks their meshes\n"
    "  mekinfo --vtu frames beam.mek    writes frames/beam.pvd for ParaView\n"
    "  mekinfo --array /beam/HE8 Coordinates beam.mek > nodes.csv";

void declareOptions(CLI::App& app, CommandLine& values) {
    app.add_option("FILE", values.files, "model files")->required();
    CLI::Option* const all =
        app.add_flag("--all", values.all, "show header, blocks, tree and variables");
    CLI::Option* const json =
        app.add_flag("--json", values.json, "print all but the arrays, one JSON object per line");
    CLI::Option* const stats = app.add_flag(
        "--stats", values.stats, "show minimum, maximum and mean of all arrays; also with --json");
    CLI::Option* const check =
        app.add_flag("--check", values.check, "verify the format; --lint checks the meshes");
    CLI::Option* const lint =
        app.add_flag("--lint", values.lint, "report what the format allows and no viewer can show");
    CLI::Option* const array = declareArrayOptions(app, values.array);
    CLI::Option* const vtu = app.add_option("--vtu", values.vtuFolder,
                                            "export to this folder as .vtu files and one .pvd file")
                                 ->type_name("DIR");
    app.add_flag("--raw", values.raw,
                 "with --vtu: smaller files; ParaView of Debian 12 cannot open them")
        ->needs(vtu);
    excludeEachOther({{all}, {json, stats}, {check, lint}, {array}, {vtu}});
    app.add_flag("-q,--quiet", values.quiet, "print only errors and findings")
        ->excludes(json, stats);
}

} // namespace MekInfo
