#include <tyr/mek2/recovery.hpp>

#include <mekapi2.h>

#include "errors.hpp"
#include "handles.hpp"
#include "path.hpp"

#include <algorithm>
#include <string>

namespace {

using Tyr::Mek2::RecoveryReport;

mek_recovery_amount amountOf(const Tyr::Mek2::RecoveryAmount& amount) {
    return {amount.calls, amount.arrays, amount.steps, amount.bytes};
}

void copyReport(const RecoveryReport& from, mek_recovery_report& to) {
    to.saved = amountOf(from.saved);
    to.lost = amountOf(from.lost);
    const std::size_t length = MekC::wholeCharacters(from.reason.c_str(), sizeof to.reason - 1);
    std::copy_n(from.reason.data(), length, to.reason);
    to.reason[length] = '\0';
}

void checkSize(const mek_recovery_report* report) {
    if (report != nullptr && report->size < sizeof *report) {
        MekC::refuse(MEK_MISUSE, "mek_recovery_report has a size of " +
                                     std::to_string(report->size) + ", expected " +
                                     std::to_string(sizeof *report));
    }
}

} // namespace

mek_status mek_recover(const char* unfinished, const char* output, int overwrite,
                       mek_temporary_file on_temporary_file, void* context,
                       mek_recovery_report* report) {
    return MekC::run(__func__, [&] {
        checkSize(report);
        Tyr::Mek2::TemporaryFileObserver observer;
        if (on_temporary_file != nullptr) {
            observer = [&](const std::string& path) { on_temporary_file(context, path.c_str()); };
        }
        const RecoveryReport result = Tyr::Mek2::recover(
            MekC::toPath(MekC::requiredString(unfinished, "the path of the input")),
            MekC::toPath(MekC::requiredString(output, "the path of the output")), overwrite != 0,
            observer);
        if (report != nullptr) {
            copyReport(result, *report);
        }
    });
}
