/// @file
/// An output file that has a temporary name until it is complete.
#pragma once

#include <filesystem>

namespace Frd {

/// The destructor removes an unfinished file. An existing file is unchanged until `finish`.
class OutputFile {
public:
    /// @throws std::runtime_error the path exists and `overwrite` is false, or the path is not a
    ///     regular file, or it is the input
    OutputFile(const std::filesystem::path& path, const std::filesystem::path& input,
               bool overwrite);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// The temporary path to write to.
    const std::filesystem::path& unfinishedPath() const { return unfinishedPath_; }

    /// Renames the complete file to its final name.
    /// @throws std::filesystem::filesystem_error
    void finish();

private:
    std::filesystem::path path_;
    std::filesystem::path unfinishedPath_;
    bool isFinished_ = false;
};

} // namespace Frd
