/// @file
/// Recovery of a model whose write cycle did not end, because the process was killed or the disk
/// was full.
///
/// @code
/// #include <tyr/mek2/model.hpp>
/// #include <tyr/mek2/recovery.hpp>
///
/// int main() {
///     using namespace Tyr::Mek2;
///     SaverOptions options{true};
///     options.journal = true;
///     Model model;
///     model.saveTo("run.mek", options);
///     model.addNode(NodeType::RootGroup, "root");
///     model.checkpoint(); // from here on, the root can be recovered
///     const RecoveryReport report = recover("run.mek", "so-far.mek", true);
///     return report.isComplete() ? 0 : 1; // the model is still open and can be extended
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>

#include <cstdint>
#include <functional>
#include <string>

namespace Tyr::Mek2 {

/// A part of what a journal records.
struct RecoveryAmount {
    std::uint64_t calls = 0;  ///< calls that changed the model, arrays included
    std::uint64_t arrays = 0; ///< calls that added an array
    std::uint64_t steps = 0;  ///< different step names; in `lost`, those without a saved array
    std::uint64_t bytes = 0;  ///< of the arrays, before compression
};

/// The result of a recovery.
struct RecoveryReport {
    RecoveryAmount saved{}; ///< in the output
    RecoveryAmount lost{};  ///< recorded, but not saved
    std::string reason{};   ///< why something is lost; empty if nothing is

    /// Whether everything that the journal records was saved.
    bool isComplete() const { return reason.empty(); }
};

/// Receives the path of a temporary file, in UTF-8.
using TemporaryFileObserver = std::function<void(const std::string& path)>;

/// Makes a complete model file from an unfinished one and its journal (`SaverOptions::journal`).
///
/// Makes the recorded calls again, up to the first one whose record or array is not whole. Copies
/// the blocks of the arrays without decompressing them. Only reads its input, which can belong to a
/// write cycle that is still open, of this or another process. Memory use is that of the tree and a
/// buffer of 1 MiB.
///
/// @param unfinished path that was passed to `saveTo`, that of the journal, or that of the
///     temporary file of `SaverOptions::replaceWhenComplete`
/// @param output path of the new file, which is written under a temporary name and then renamed
/// @param overwrite false: an existing `output` is an error
/// @param onTemporaryFile if not empty, called once with the path of the temporary file, so that a
///     signal handler can remove it. An exception that it throws ends the recovery.
/// @throws FileOpenException there is no journal; an input cannot be opened; or "File exists."
/// @throws InvalidArguments the journal or the model file is of another kind; they do not belong
///     together; the model file is complete; or `output` is one of them
/// @throws MiscelleneousException "Unable to open file ...": the output cannot be created
/// @throws FileWriteException the system could not write the output
/// @{
MEKAPI2_API RecoveryReport recover(const std::string& unfinished, const std::string& output,
                                   bool overwrite = false,
                                   const TemporaryFileObserver& onTemporaryFile = {});
MEKAPI2_API RecoveryReport recover(const std::wstring& unfinished, const std::wstring& output,
                                   bool overwrite = false,
                                   const TemporaryFileObserver& onTemporaryFile = {});
/// @}

} // namespace Tyr::Mek2
