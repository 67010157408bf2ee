/// @file
/// The file of a write cycle that must survive a killed process, or must not replace another file
/// before it is complete.
#pragma once

#include <tyr/mek2/saveroptions.hpp>

#include "tyr/mek2/journal/journal.hpp"
#include "tyr/platform/files.hpp"

#include <memory>
#include <string>

namespace Tyr::Mek2 {

/// Owns the temporary file and the journal of a write cycle.
class SafeOutput {
public:
    /// Opens the file of the tree, under a temporary name if asked, and its journal if asked.
    /// @throws FileOpenException "File exists.", "Journal exists."; not a regular file; or the
    ///     journal cannot be created
    /// @throws FileWriteException "Unable to write to file"
    /// @throws MiscelleneousException "Unable to open file " and the quoted path
    SafeOutput(const Platform::NativePath& path, const SaverOptions& options, TyrMek::Tree& tree);
    SafeOutput(const SafeOutput&) = delete;
    SafeOutput& operator=(const SafeOutput&) = delete;

    /// Removes a temporary file that has no journal. The stream of the tree must be closed.
    ~SafeOutput();

    /// Null without a journal.
    Journal::Writer* journal() const { return journal_.get(); }

    /// Whether a `Model` that is destroyed leaves the file unfinished.
    bool needsClose() const { return isReplacement_; }

    /// In UTF-8; empty without a temporary file.
    std::string temporaryPath() const {
        return isReplacement_ ? Platform::displayPath(path_) : std::string();
    }

    /// Makes everything so far recoverable.
    /// @param onDevice whether that includes a power failure
    /// @throws FileWriteException
    void checkpoint(TyrMek::Tree& tree, bool onDevice);

    /// Gives the finished and closed file its name and removes the journal.
    /// @throws FileOpenException "File exists."
    /// @throws FileWriteException the file cannot be renamed
    void complete();

private:
    void open(TyrMek::Tree& tree);
    void createJournal(const SaverOptions& options);
    void startJournal(TyrMek::Tree& tree);
    void refuseExisting() const;
    void removeJournal();

    Platform::NativePath target_;
    Platform::NativePath path_; ///< of the file that is written: temporary, or the target
    Platform::NativePath journalPath_;
    Journal::Identity identity_ = Platform::randomIdentity();
    bool isReplacement_;
    bool overwrite_;
    bool isOnDevice_ = false; ///< a checkpoint has asked for that
    std::unique_ptr<Journal::Writer> journal_;
};

} // namespace Tyr::Mek2
