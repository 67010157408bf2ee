/// @file
/// Unfinished files, which are removed when a signal or the console ends the process.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>

namespace Console {

/// From now on SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGXCPU and SIGXFSZ remove all registered files,
/// and then the process dies of the signal. A signal that the caller of the program ignores stays
/// ignored. On Windows this applies to Ctrl-C, Ctrl-Break and the end of console or session.
void removeUnfinishedFilesOnSignals();

/// Runs `action` while those signals wait: a file is created and registered in one step.
void holdingSignals(const std::function<void()>& action);

/// Registers one file while it lives. At most 16 files are registered at a time; further ones, and
/// those with a path of 4096 characters or more, are not removed by signals. The process must not
/// change its working directory while a relative path is registered.
class UnfinishedFile {
public:
    /// @param path of a file that this process created
    explicit UnfinishedFile(const std::filesystem::path& path);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

private:
    std::ptrdiff_t slot_;
};

} // namespace Console
