#include "mekrecover/recovery.hpp"

#include "console/count.hpp"
#include "console/error.hpp"
#include "console/inputfile.hpp"
#include "console/outputfile.hpp"
#include "console/unfinishedfiles.hpp"

#include <tyr/exception/exception.hpp>
#include <tyr/mek2/recovery.hpp>

#include <iostream>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace MekRecover {

namespace {

bool fileExists(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

/// The operand can be a journal, and with `SaverOptions::replaceWhenComplete` only that may exist.
void checkInput(const std::filesystem::path& unfinished) {
    std::filesystem::path journal = unfinished;
    journal += ".journal";
    if (unfinished.extension() == ".journal") {
        return; // the library checks it
    }
    if (fileExists(unfinished) || !fileExists(journal)) {
        Console::checkInputFile(unfinished, Console::FileFormat::Model);
    }
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// The message `"path" reason` of the library as `path: reason`, with what the user can do.
std::string messageOf(const CommandLine& commandLine, const std::string& what) {
    const std::size_t closingQuote = what.rfind("\" ");
    std::string message = commandLine.unfinishedName + ": " + what;
    if (what.front() == '"' && closingQuote != std::string::npos) {
        message = what.substr(1, closingQuote - 1) + ": " + what.substr(closingQuote + 2);
    }
    if (endsWith(message, " has no journal")) {
        message += "; --blocks shows what is whole";
    } else if (endsWith(message, " is complete")) {
        message += "; mekinfo shows it";
    }
    return message;
}

Tyr::Mek2::RecoveryReport recover(const CommandLine& commandLine) {
    const std::filesystem::path output = commandLine.output();
    std::optional<Console::UnfinishedFile> registration;
    const auto removeOnSignals = [&](const std::string& temporaryPath) {
        registration.emplace(std::filesystem::u8path(temporaryPath));
    };
    try {
        return Tyr::Mek2::recover(commandLine.unfinished().native(), output.native(),
                                  commandLine.overwrite, removeOnSignals);
    } catch (const Tyr::Exception::FileWriteException& error) {
        throw Console::FileError(output, error.what());
    } catch (const Tyr::Exception::MiscelleneousException& error) { // it cannot be created
        throw Console::FileError(output, error.what());
    } catch (const Tyr::Exception::Exception& error) {
        if (error.what() == std::string_view("File exists.")) { // since it was checked
            throw Console::existsError(output);
        }
        throw std::runtime_error(messageOf(commandLine, error.what()));
    }
}

void print(const std::filesystem::path& output, const char* what,
           const Tyr::Mek2::RecoveryAmount& amount) {
    using Console::counted;
    std::cout << output.u8string() << ": " << what << ' ' << counted(amount.calls, "call") << ", "
              << counted(amount.arrays, "array") << ", " << counted(amount.steps, "step") << ", "
              << counted(amount.bytes, "byte") << " of arrays\n";
}

} // namespace

bool recoverModel(const CommandLine& commandLine,
                  const std::function<void(const std::string&)>& warn) {
    checkInput(commandLine.unfinished());
    Console::checkOutputPath(commandLine.output(), commandLine.overwrite);
    const Tyr::Mek2::RecoveryReport report = recover(commandLine);
    print(commandLine.output(), "saved", report.saved);
    if (report.lost.calls != 0) {
        print(commandLine.output(), "lost", report.lost);
    }
    if (!report.isComplete()) {
        warn(commandLine.unfinishedName + ": " + report.reason);
    } else if (report.saved.calls == 0) {
        warn(commandLine.unfinishedName + ": the journal records no call; the model is empty");
    }
    return report.isComplete() && report.saved.calls != 0;
}

} // namespace MekRecover
