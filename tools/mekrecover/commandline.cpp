#include "mekrecover/commandline.hpp"

#include <cstddef>

namespace MekRecover {

namespace {

/// The path as it was passed to `saveTo`, from that of the journal or of the temporary file
/// `NAME.XXXXXXXX.part`.
std::filesystem::path targetOf(const std::filesystem::path& unfinished) {
    constexpr std::size_t randomExtensionLength = 9;
    std::filesystem::path target = unfinished;
    if (target.extension() == ".journal") {
        return target.replace_extension();
    }
    if (target.extension() == ".part" &&
        target.stem().extension().native().size() == randomExtensionLength) {
        return target.replace_extension().replace_extension();
    }
    return target;
}

} // namespace

const char* const purpose =
    "Makes a complete model file of an unfinished one and its journal. The inputs are only read; "
    "their\nwriter may still be running.";

const char* const notes =
    "UNFINISHED is the path that the writer was given. The path of the journal (NAME.journal) or "
    "of\n"
    "the temporary file (NAME.XXXXXXXX.part) is accepted, too.\n"
    "\n"
    "Exit codes:\n"
    "  0  everything that the journal records was saved; with --blocks: only whole blocks were "
    "found\n"
    "  1  something was lost, nothing can be saved, or the output cannot be written\n"
    "  2  the arguments are invalid\n"
    "\n"
    "Examples:\n"
    "  mekrecover run.mek                          writes run.recovered.mek\n"
    "  mekrecover --output so-far.mek run.mek      while run.mek is being written\n"
    "  mekrecover --blocks --extract raw run.mek\n"
    "                                            without a journal: raw arrays, no names";

std::filesystem::path CommandLine::output() const {
    if (!outputName.empty()) {
        return std::filesystem::u8path(outputName);
    }
    std::filesystem::path output = targetOf(unfinished());
    if (output.extension() == ".mek") {
        output.replace_extension();
    }
    return output += ".recovered.mek";
}

void declareOptions(CLI::App& app, CommandLine& values) {
    app.add_option("UNFINISHED", values.unfinishedName, "the unfinished model file")->required();
    CLI::Option* const output =
        app.add_option("--output", values.outputName,
                       "the new file; by default, next to NAME.mek: NAME.recovered.mek")
            ->type_name("FILE");
    app.add_flag("--overwrite", values.overwrite, "replace files that exist");
    CLI::Option* const blocks =
        app.add_flag("--blocks", values.blocks,
                     "without a journal: list the blocks that are whole; their names are lost")
            ->excludes(output);
    app.add_option("--extract", values.extractFolder,
                   "with --blocks: write the content of each block to this folder")
        ->type_name("DIR")
        ->needs(blocks);
}

} // namespace MekRecover
