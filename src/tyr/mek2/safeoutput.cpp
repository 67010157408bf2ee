#include "tyr/mek2/safeoutput.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek2/filenames.hpp"
#include "tyr/qbf/blocksize.hpp"

#include <string>

namespace Tyr::Mek2 {

namespace {

constexpr int attempts = 100; // at a temporary name that no other file has

/// Removes the temporary file of a run that was killed, as its journal names it.
void removeTemporaryFileOf(const Platform::NativePath& journal,
                           const Platform::NativePath& target) {
    try {
        const std::string name = Journal::readStart(journal).fileName;
        const auto path = Platform::folderOf(target) +
                          Platform::nameOf(Platform::nativeName(name).value_or(target));
        if (targetOfTemporary(path) == target) {
            Platform::removeFile(path);
        }
    } catch (const Exception::Exception&) {
        // a damaged journal names no file
    }
}

[[noreturn]] void raiseUnableToOpen(const Platform::NativePath& path) {
    const std::string message =
        "Unable to open file " + Platform::inQuotes(path) + ": " + Platform::lastErrorReason();
    TYR_RAISE(Exception::MiscelleneousException(message.c_str()));
}

} // namespace

SafeOutput::SafeOutput(const Platform::NativePath& path, const SaverOptions& options,
                       TyrMek::Tree& tree)
    : target_(options.replaceWhenComplete ? Platform::linkTarget(path) : path),
      path_(target_),
      journalPath_(journalPathOf(target_)),
      isReplacement_(options.replaceWhenComplete),
      overwrite_(options.overwrite) {
    const bool isStale = options.journal && Platform::fileExists(journalPath_);
    if (isStale && !overwrite_) {
        TYR_RAISE(Exception::FileOpenException("Journal exists."));
    }
    refuseExisting();
    if (isReplacement_ && Platform::fileExists(target_) && !Platform::isRegularFile(target_)) {
        const std::string message = Platform::inQuotes(target_) + " is not a regular file";
        TYR_RAISE(Exception::FileOpenException(message.c_str()));
    }
    if (isStale) {
        removeTemporaryFileOf(journalPath_, target_);
        Platform::removeFile(journalPath_);
    }
    try {
        if (options.journal && !isReplacement_) {
            createJournal(options); // if that fails, the file keeps its content
        }
        open(tree);
        if (options.journal && isReplacement_) {
            createJournal(options); // names the temporary file
        }
        if (options.journal) {
            startJournal(tree);
        }
    } catch (...) {
        tree.file.CloseFile();
        removeJournal();
        if (isReplacement_ && path_ != target_) {
            Platform::removeFile(path_);
        }
        throw;
    }
}

SafeOutput::~SafeOutput() {
    if (journal_ != nullptr) {
        try {
            journal_->write();
        } catch (...) {
            // what the last checkpoint promised is in the file
        }
    } else if (isReplacement_ && !path_.empty()) {
        Platform::removeFile(path_);
    }
}

void SafeOutput::open(TyrMek::Tree& tree) {
    const bool isReplaced = isReplacement_ && Platform::fileExists(target_);
    std::FILE* stream = nullptr;
    if (!isReplacement_) {
        stream = Platform::createOrEmptyFile(path_);
    }
    for (int attempt = 0; isReplacement_ && stream == nullptr && attempt < attempts; ++attempt) {
        path_ = newTemporaryPath(target_);
        stream = Platform::createFile(path_, isReplaced);
        if (stream == nullptr && !Platform::fileExists(path_)) {
            break;
        }
    }
    if (stream == nullptr) {
        path_ = target_;
        raiseUnableToOpen(target_);
    }
    tree.SetStream(stream);
    if (isReplaced) {
        Platform::copyPermissions(target_, path_);
    }
}

void SafeOutput::createJournal(const SaverOptions& options) {
    journal_ = std::make_unique<Journal::Writer>(
        journalPath_, identity_,
        Journal::Start{Platform::displayPath(Platform::nameOf(path_)), options.toolName,
                       options.toolVersion, options.relinkReplaced,
                       static_cast<std::uint8_t>(options.compressionLevel),
                       static_cast<bool>(options.parallelFor), TyrQbf::BlockSizeFromEnvironment()});
    if (Platform::fileExists(path_)) {
        Platform::copyPermissions(path_, journalPath_);
    }
}

void SafeOutput::startJournal(TyrMek::Tree& tree) {
    tree.file.WriteIdentity(identity_);
    journal_->write();
    tree.file.index.SetObserver(
        [journal = journal_.get()](const TyrQbf::StoredBlock& block, std::uint32_t crc) {
            journal->recordBlock(block, crc);
        });
}

void SafeOutput::refuseExisting() const {
    if (!overwrite_ && Platform::fileExists(target_)) {
        TYR_RAISE(Exception::FileOpenException("File exists."));
    }
}

void SafeOutput::checkpoint(TyrMek::Tree& tree, bool onDevice) {
    tree.WriteDatasets();
    journal_->write();
    if (!onDevice) {
        return;
    }
    isOnDevice_ = true;
    if (!Platform::synchronize(tree.file.stream)) {
        TYR_RAISE(Exception::FileWriteException("Unable to write to file"));
    }
    journal_->synchronize();
    if (!Platform::synchronizeFolderOf(target_)) {
        TYR_RAISE(Exception::FileWriteException("Unable to write to file"));
    }
}

void SafeOutput::complete() {
    if (isOnDevice_ && !Platform::synchronizeFile(path_)) { // the journal is needed until then
        TYR_RAISE(Exception::FileWriteException("Unable to write to file"));
    }
    if (isReplacement_) {
        if (!Platform::renameFile(path_, target_, overwrite_)) {
            refuseExisting();
            const std::string message = "Unable to rename " + Platform::inQuotes(path_) + " to " +
                                        Platform::inQuotes(target_) + ": " +
                                        Platform::lastErrorReason();
            TYR_RAISE(Exception::FileWriteException(message.c_str()));
        }
        path_.clear();
    }
    removeJournal();
}

void SafeOutput::removeJournal() {
    if (journal_ != nullptr) {
        journal_.reset();
        Platform::removeFile(journalPath_);
    }
}

} // namespace Tyr::Mek2
