#include "converter.hpp"

#include "console/count.hpp"
#include "console/error.hpp"
#include "console/outputfile.hpp"
#include "console/progress.hpp"
#include "frd/formaterror.hpp"
#include "frd/resultfile.hpp"
#include "frd/survey.hpp"

#include <tyr/exception/exception.hpp>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

namespace Frd {

namespace {

using Console::counted;

std::string wholeParts(const ResultFile& file, std::size_t results) {
    return counted(file.nodes().size(), "node") + ", " + counted(file.elementCount(), "element") +
           " and " + counted(results, "result") + " are whole";
}

/// @throws UnfinishedFile the file is not finished and nothing can or may be salvaged
void expectConvertible(const ResultFile& file, std::size_t results, bool salvage,
                       const std::string& path) {
    if (file.ending() == Ending::Finished) {
        return;
    }
    const bool isCut = file.ending() == Ending::InsideRecord;
    if (file.nodes().size() == 0) {
        throw UnfinishedFile(path + (isCut ? ": the file ends inside a record, before its mesh is "
                                             "complete; there is nothing to convert"
                                           : ": the solver stopped before it wrote the mesh; there "
                                             "is nothing to convert"));
    }
    if (!salvage) {
        throw UnfinishedFile(path +
                             (isCut ? ": the file ends inside a record; "
                                    : ": the solver stopped before it finished this file; ") +
                             wholeParts(file, results) + "; --salvage converts them");
    }
}

/// The results with most values first.
std::string leftOutResults(const LeftOutValues& values) {
    constexpr std::size_t mostNames = 10;
    std::vector<std::pair<std::string, std::uint64_t>> sorted(values.begin(), values.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    std::string text;
    for (std::size_t i = 0; i < std::min(sorted.size(), mostNames); ++i) {
        text += (i == 0 ? "" : ", ") + sorted[i].first + " " + std::to_string(sorted[i].second);
    }
    return text + (sorted.size() > mostNames ? ", ..." : "");
}

/// What has no place in the model, in one line; empty if there is nothing.
std::string leftOutParts(const ResultFile& file) {
    std::uint64_t values = 0;
    for (const auto& [result, count] : file.valuesLeftOut()) {
        values += count;
    }
    std::string text;
    if (values != 0) {
        text = counted(values, "value") +
               " at nodes without coordinates left out: " + leftOutResults(file.valuesLeftOut());
    }
    if (file.elementsLeftOut() != 0) {
        text += (text.empty() ? "" : "; ") + counted(file.elementsLeftOut(), "element") +
                " with nodes without coordinates left out";
    }
    return text;
}

std::vector<std::string> warningsOf(const ResultFile& file, std::size_t results) {
    std::vector<std::string> warnings;
    if (file.ending() != Ending::Finished) {
        warnings.push_back("the file is unfinished; " + wholeParts(file, results));
    }
    if (file.nodes().size() == 0) {
        warnings.emplace_back("the file has no nodes");
    }
    if (std::string leftOut = leftOutParts(file); !leftOut.empty()) {
        warnings.push_back(std::move(leftOut));
    }
    return warnings;
}

void writeModel(ResultFile& file, const std::vector<SurveyedResult>& surveyed,
                const std::string& rootName, ModelWriter& writer) {
    writer.writeMesh(file.job(), rootName, file.nodes(), file.takeMesh());
    ResultHeader header;
    std::vector<float> values;
    for (const SurveyedResult& result : surveyed) {
        if (!file.nextResult(header) || !file.readValues(header, values)) {
            break; // the file became shorter meanwhile
        }
        writer.writeResult(header, result, values);
    }
    writer.close();
}

/// An error of the library that a call of the system has caused.
Console::FileError systemError(const std::filesystem::path& output, const std::exception& error) {
    return {output, errno != 0 ? Console::reasonOf(errno) : error.what()};
}

} // namespace

Summary convert(const std::filesystem::path& input, const std::filesystem::path& output,
                const ConversionOptions& options) {
    Console::checkOutputPath(output, options.overwrite, input);
    const std::uintmax_t bytesIn = std::filesystem::file_size(input);
    Console::Progress progress("frd2mek", bytesIn);
    const char* phase = "surveying";
    ResultFile file(input, [&](std::uint64_t done) { progress.show(phase, done); });
    const std::vector<SurveyedResult> surveyed = surveyResults(file);
    expectConvertible(file, surveyed.size(), options.salvage, input.u8string());

    phase = "converting";
    file.rewind();
    ModelWriter writer;
    try {
        writer.open(output, options.overwrite, options.threads);
        writeModel(file, surveyed, printable(input.stem().u8string()), writer);
    } catch (const Tyr::Exception::FileOpenException&) {
        throw Console::existsError(output); // another process has created it meanwhile
    } catch (const Tyr::Exception::MiscelleneousException& error) {
        throw systemError(output, error);
    } catch (const Tyr::Exception::FileWriteException& error) {
        throw systemError(output, error);
    }
    Summary summary = writer.summary();
    summary.warnings = warningsOf(file, surveyed.size());
    summary.bytesIn = bytesIn;
    summary.bytesOut = std::filesystem::file_size(output);
    return summary;
}

} // namespace Frd
