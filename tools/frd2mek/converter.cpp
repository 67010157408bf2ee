#include "converter.hpp"

#include "console/error.hpp"
#include "console/outputfile.hpp"
#include "console/progress.hpp"
#include "frd/resultfile.hpp"
#include "frd/survey.hpp"

#include <tyr/exception/exception.hpp>

#include <cerrno>
#include <string>
#include <vector>

namespace Frd {

namespace {

std::vector<SurveyedResult> survey(const std::filesystem::path& input,
                                   Console::Progress& progress) {
    LineReader lines(input, [&](std::uint64_t done) { progress.show("surveying", done); });
    return surveyResults(lines);
}

void writeModel(ResultFile& file, const std::vector<SurveyedResult>& surveyed,
                const std::string& rootName, ModelWriter& writer) {
    writer.writeMesh(file.job(), rootName, file.nodes(), file.takeMesh());
    ResultHeader header;
    std::vector<float> values;
    for (std::size_t index = 0; file.nextResult(header); ++index) {
        file.readValues(header, values);
        writer.writeResult(header, index < surveyed.size() ? surveyed[index] : SurveyedResult{},
                           values);
    }
    writer.close();
}

} // namespace

Summary convert(const std::filesystem::path& input, const std::filesystem::path& output,
                bool overwrite) {
    Console::OutputFile target(output, overwrite, input);
    const std::uintmax_t bytesIn = std::filesystem::file_size(input);
    Console::Progress progress("frd2mek", bytesIn);
    const std::vector<SurveyedResult> surveyed = survey(input, progress);
    ResultFile file(input, [&](std::uint64_t done) { progress.show("converting", done); });

    ModelWriter writer(target.unfinishedPath());
    try {
        writeModel(file, surveyed, printable(input.stem().u8string()), writer);
    } catch (const Tyr::Exception::FileWriteException& error) {
        throw Console::FileError(output, errno != 0 ? Console::reasonOf(errno) : error.what());
    }
    Summary summary = writer.summary();
    summary.bytesIn = bytesIn;
    summary.bytesOut = std::filesystem::file_size(target.unfinishedPath());
    target.finish();
    return summary;
}

} // namespace Frd
