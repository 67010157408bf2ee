/// @file
/// Recovery of a model whose write cycle did not end: the process was killed, or the disk was full.
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
///     model.checkpoint(); // from here on, the root survives
///     const RecoveryReport report = recover("run.mek", "so-far.mek", true);
///     return report.isComplete() ? 0 : 1; // the model is still open and can go on
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
    std::uint64_t steps = 0;  ///< different step names; lost: those without a saved array
    std::uint64_t bytes = 0;  ///< of the arrays, not compressed
};

/// The result of a recovery.
struct RecoveryReport {
    RecoveryAmount saved{}; ///< in the output
    RecoveryAmount lost{};  ///< recorded, but not saved
    std::string reason{};   ///< why the recovery ended early; empty: it did not

    /// Whether everything that the journal records was saved.
    bool isComplete() const { return reason.empty(); }
};

using TemporaryFileObserver = std::function<void(const std::string& path)>;

/// Makes a complete model file of an unfinished one that was written with `SaverOptions::journal`.
///
/// Makes the recorded calls again, up to the first whose record or array is not whole, and copies
/// the blocks of the arrays without decompressing them. The input is only read, and can belong to a
/// write cycle that is still open, of this or another process. Memory use is that of the tree, as
/// in the writing process, and a buffer.
///
/// @param unfinished path as it was passed to `saveTo`; or of the journal, or of the temporary file
///     that `SaverOptions::replaceWhenComplete` makes
/// @param output path of the new file; it appears when it is complete
/// @param overwrite false: an existing `output` is an error
/// @param onTemporaryFile if not empty, called once with the path, in UTF-8, of the temporary file
///     that becomes `output`: a signal handler can remove it. An exception ends the recovery.
/// @throws FileOpenException there is no journal; a file cannot be opened; or "File exists."
/// @throws InvalidArguments the journal or the file is of another kind, or the two do not belong
///     together; `output` is one of them
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
