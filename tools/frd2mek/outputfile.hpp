/// @file
/// The file that is being written, under a name of its own until it is complete.
#pragma once

#include <filesystem>

namespace Frd {

/// An unfinished file is removed, and what stood at the path before is left alone until `finish`.
class OutputFile {
public:
    /// @throws std::runtime_error the path is taken and `overwrite` is false, or what stands there
    ///     is no regular file, or it is the input
    OutputFile(const std::filesystem::path& path, const std::filesystem::path& input,
               bool overwrite);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// Where to write.
    const std::filesystem::path& unfinishedPath() const { return unfinishedPath_; }

    /// Gives the complete file its name.
    /// @throws std::filesystem::filesystem_error
    void finish();

private:
    std::filesystem::path path_;
    std::filesystem::path unfinishedPath_;
    bool isFinished_ = false;
};

} // namespace Frd
