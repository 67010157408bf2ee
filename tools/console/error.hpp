/// @file
/// Errors of files, and the strings that describe them.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace Console {

/// A file cannot be read or written. The message is "path: reason".
class FileError : public std::runtime_error {
public:
    FileError(const std::filesystem::path& path, const std::string& reason)
        : std::runtime_error(path.u8string() + ": " + reason), reason_(reason) {}

    const std::string& reason() const { return reason_; }

private:
    std::string reason_;
};

/// A readable file has another format than the expected one.
class ForeignFile : public FileError {
public:
    using FileError::FileError;
};

/// The reason as POSIX words it on every system, such as "No such file or directory".
/// @{
std::string reasonOf(const std::error_code& error);
std::string reasonOf(int errorNumber);
/// @}

/// `text` with control characters as hexadecimal numbers, so that it is one line and changes no
/// state of a terminal.
std::string printable(std::string_view text);

} // namespace Console
