#include "mekinfo/commandline.hpp"

namespace MekInfo {

const char* const purpose =
    "Shows the content of model files, checks them, or exports them for VTK and ParaView. Without\n"
    "options it shows header, blocks, tree and variables.";

const char* const notes =
    "Exit codes:\n"
    "  0  done; with --check and --lint: all files are valid, and nothing was found\n"
    "  1  a file is invalid or cannot be read, --lint found something, or an output cannot be\n"
    "     written\n"
    "  2  the arguments are invalid\n"
    "\n"
    "Examples:\n"
    "  mekinfo beam.mek                 shows the content of beam.mek\n"
    "  mekinfo --check --lint *.mek     verifies the files and checks their meshes\n"
    "  mekinfo --vtu frames beam.mek    writes frames/beam.pvd for ParaView";

void declareOptions(CLI::App& app, CommandLine& values) {
    app.add_option("FILE", values.files, "model files")->required();
    CLI::Option* const check =
        app.add_flag("--check", values.check, "verify the format; --lint checks the meshes");
    CLI::Option* const lint =
        app.add_flag("--lint", values.lint, "report what the format allows and no viewer can show");
    CLI::Option* const vtu = app.add_option("--vtu", values.vtuFolder,
                                            "export to this folder as .vtu files and one .pvd file")
                                 ->type_name("DIR")
                                 ->excludes(check, lint);
    app.add_flag("--raw", values.raw,
                 "with --vtu: smaller files; ParaView of Debian 12 cannot open them")
        ->needs(vtu);
    app.add_flag("-q,--quiet", values.quiet, "print only what is wrong");
}

} // namespace MekInfo
