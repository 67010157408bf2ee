/// @file
/// Unfinished files, which are removed when a signal or the console ends the process.
#pragma once

#include <filesystem>
#include <functional>

namespace Console {

/// From now on SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGXCPU and SIGXFSZ remove all registered files,
/// and then the process dies of the signal. A signal that the caller of the program ignores stays
/// ignored. On Windows this applies to Ctrl-C, Ctrl-Break and the end of console or session.
void removeUnfinishedFilesOnSignals();

/// Runs `action` while those signals wait: a file is created and registered in one step. Calls may
/// be nested.
void holdingSignals(const std::function<void()>& action);

/// Registers one file, or one folder, while it lives. A folder is removed only if it is empty,
/// after the files that were registered later. The process must not change its working directory
/// while a relative path is registered.
class UnfinishedFile {
public:
    /// @param path of a file or folder that this process created
    explicit UnfinishedFile(std::filesystem::path path);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    const std::filesystem::path& path() const { return path_; }

    /// Removes everything that is registered, the newest first. A signal handler calls it: it
    /// allocates nothing and locks nothing.
    static void removeAll();

private:
    static UnfinishedFile* newest;

    std::filesystem::path path_;
    UnfinishedFile* older_ = nullptr;
    UnfinishedFile* newer_ = nullptr;
};

} // namespace Console
