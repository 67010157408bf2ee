/// @file
/// Reads the lines and binary records of a file through one buffer of fixed size.
#pragma once

#include "frd/line.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Frd {

class InputReader {
public:
    /// Called with the position in the file up to which it was read, each time the buffer is
    /// filled.
    using Watcher = std::function<void(std::uint64_t)>;

    /// A place in the file to return to.
    struct Mark {
        std::uint64_t offset = 0;
        std::uint64_t line = 0; ///< lines before it
    };

    /// The longest line and the longest binary record.
    static constexpr std::size_t bufferSize = 1 << 20;

    /// @throws std::runtime_error the file cannot be opened
    explicit InputReader(const std::filesystem::path& path, Watcher watcher = {});

    /// Reads the next line, without its end (LF or CR LF).
    /// @return false at the end of the file
    /// @throws FormatError the line is longer than the buffer
    /// @throws std::runtime_error the file cannot be read
    bool next(Line& line);

    /// Reads the next line of a file that must not end here.
    /// @param lastKey the last line of a file needs no end if it starts with this
    /// @throws EndOfFile the file ends, or ends inside this line; `what` was expected
    Line require(const char* what, std::string_view lastKey = {});

    /// The next bytes, which are not consumed: `count`, or fewer at the end of the file. Valid
    /// until the next call.
    /// @param count at most `bufferSize`
    std::string_view peek(std::size_t count);

    /// Consumes bytes that `peek` returned.
    void skip(std::size_t count);

    Mark mark() const;
    void returnTo(const Mark& mark);

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
    bool hasCutLine_ = false; ///< the last line was read, and it has no end
};

} // namespace Frd
