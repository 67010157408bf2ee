/// @file
/// Reads a text file line by line through one buffer of fixed size.
#pragma once

#include "frd/line.hpp"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace Frd {

class LineReader {
public:
    /// Called with the number of bytes read so far, each time the buffer is filled.
    using Watcher = std::function<void(std::uint64_t)>;

    /// @throws std::runtime_error the file cannot be opened
    explicit LineReader(const std::filesystem::path& path, Watcher watcher = {});

    /// Reads the next line, without its end (LF or CR LF).
    /// @return false at the end of the file
    /// @throws FormatError the line is longer than the buffer (1 MiB)
    /// @throws std::runtime_error the file cannot be read
    bool next(Line& line);

    /// Reads the next line of a file that must not end here.
    /// @throws FormatError the file ends; `what` was expected
    Line require(const char* what);

private:
    bool refill();
    Line take(const char* end, const char* following);

    std::string path_;
    std::ifstream file_;
    Watcher watcher_;
    std::vector<char> buffer_;
    const char* begin_;
    const char* end_;
    std::uint64_t lineNumber_ = 0;
    std::uint64_t bytesRead_ = 0;
};

} // namespace Frd
