#include "mekdiff/commandline.hpp"

namespace MekDiff {

const char* const purpose =
    "Compares two models: tree, placements, attributes, materials, and every array. Prints one "
    "line\n"
    "for each difference.";

const char* const notes =
    "Two floating-point values are equal if they differ by at most --abs, or by at most --rel "
    "times\n"
    "the larger magnitude. NaN equals NaN. Date, tool, ids and the layout of the file are not\n"
    "compared, and an array that is linked equals one with the same values that is not.\n"
    "\n"
    "Exit codes:\n"
    "  0  the models are equal\n"
    "  1  the models differ\n"
    "  2  a file cannot be read, or the arguments are invalid\n"
    "\n"
    "Examples:\n"
    "  mekdiff old.mek new.mek                   exact comparison\n"
    "  mekdiff --rel 1e-5 --abs 1e-9 a.mek b.mek\n"
    "  mekdiff --only Stress a.mek b.mek         the arrays of this name alone";

namespace {

/// Not `CLI::NonNegativeNumber`, whose message lists the largest number.
std::string requireTolerance(const std::string& value) {
    double number = 0;
    return CLI::detail::lexical_cast(value, number) && number >= 0 ? std::string()
                                                                   : "needs a number from 0 on";
}

} // namespace

void declareOptions(CLI::App& app, CommandLine& values) {
    app.add_option("A", values.first, "a model file")->required();
    app.add_option("B", values.second, "another model file")->required();
    app.add_option("--abs", values.options.tolerance.absolute, "largest absolute difference")
        ->type_name("X")
        ->check(requireTolerance);
    app.add_option("--rel", values.options.tolerance.relative, "largest relative difference")
        ->type_name("X")
        ->check(requireTolerance);
    app.add_option("--only", values.options.only,
                   "compare only arrays of this name; may be given several times")
        ->type_name("NAME")
        ->expected(1)
        ->take_all();
    app.add_flag("--ignore-order", values.options.ignoresOrder,
                 "the order of nodes and variables may differ");
    app.add_flag("-q,--quiet", values.quiet, "print nothing but errors");
}

} // namespace MekDiff
