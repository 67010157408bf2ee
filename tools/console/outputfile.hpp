/// @file
/// An output file that has a temporary name until it is complete.
#pragma once

#include "console/error.hpp"
#include "console/unfinishedfiles.hpp"

#include <filesystem>
#include <optional>

namespace Console {

/// Checks the path of an output before work begins.
/// @param overwrite whether an existing target is replaced
/// @param input a file that must not be the target; may be empty
/// @throws FileError the target exists and `overwrite` is false, or the target is no regular file
/// or
///     the input
void checkOutputPath(const std::filesystem::path& target, bool overwrite,
                     const std::filesystem::path& input = {});

/// The target exists and must not be replaced.
FileError existsError(const std::filesystem::path& target);

/// The temporary file is in the folder of the target, and no other process has it: its name is
/// `TARGET.XXXXXXXX.part` with random hexadecimal digits. The destructor removes it if it is
/// unfinished, and so do the signals of `removeUnfinishedFilesOnSignals`. An existing target is
/// unchanged until `finish`, which keeps its permission bits. Symbolic links are followed.
class OutputFile {
public:
    /// Creates the temporary file.
    /// @param overwrite whether an existing target is replaced
    /// @throws FileError as `checkOutputPath`, or the temporary file cannot be created
    OutputFile(const std::filesystem::path& target, bool overwrite);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// The temporary path to write to.
    const std::filesystem::path& unfinishedPath() const { return unfinishedPath_; }

    /// Renames the complete file to its final name.
    /// @throws FileError also if `overwrite` is false and another process has created the target
    void finish();

private:
    void create();

    std::filesystem::path name_; ///< as given, for error messages
    std::filesystem::path target_;
    std::filesystem::path unfinishedPath_;
    bool overwrite_;
    bool isFinished_ = false;
    std::optional<std::filesystem::perms> replacedPermissions_;
    std::optional<UnfinishedFile> registration_;
};

} // namespace Console
