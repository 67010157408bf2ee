/// @file
/// An output file of the export.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace MekVtu {

/// An output cannot be written; the message is the path and the reason of the system.
class OutputError : public std::runtime_error {
public:
    OutputError(const std::filesystem::path& path, int systemError);
};

/// Replaces a file. The destructor removes it unless it is complete.
class OutputFile {
public:
    /// Creates the file. A symbolic link of this name is replaced, not followed.
    /// @throws OutputError
    explicit OutputFile(std::filesystem::path path);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /// @throws OutputError
    void write(std::string_view bytes);

    /// Closes the complete file.
    /// @throws OutputError
    void finish();

private:
    [[noreturn]] void fail() const;

    std::filesystem::path path_;
    std::ofstream stream_;
    bool isFinished_ = false;
};

} // namespace MekVtu
