#include "meklint/lint.hpp"

#include "meklint/checks.hpp"

namespace MekLint {

void lint(MekReader::File& file, const Report& report) {
    const Reporter reporter(file, report);
    checkLinks(file, reporter);
    checkMeshes(file, reporter);
    checkResults(file, reporter);
    checkSteps(file, reporter);
    checkStrings(file, reporter);
    checkDatasets(file, reporter);
}

} // namespace MekLint
