/// @file
/// An output file of the export.
#pragma once

#include "console/outputfile.hpp"

#include <filesystem>
#include <fstream>
#include <string_view>

namespace MekVtu {

/// Gets its name at `finish`; until then it has a temporary name.
class OutputFile {
public:
    /// @param overwrite whether an existing file is replaced
    /// @throws Console::FileError
    explicit OutputFile(const std::filesystem::path& path, bool overwrite = true);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() = default;

    /// @throws Console::FileError
    void write(std::string_view bytes);

    /// Writes what is buffered and closes the file, which keeps its temporary name.
    /// @throws Console::FileError
    void close();

    const std::filesystem::path& path() const { return path_; }

    /// Gives the closed file its name.
    /// @throws Console::FileError
    void finish() { target_.finish(); }

private:
    [[noreturn]] void fail() const;

    std::filesystem::path path_;
    Console::OutputFile target_;
    std::ofstream stream_; ///< closed before `target_` removes the file
};

} // namespace MekVtu
