/// @file
/// Errors in the content of a result file.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Frd {

/// A line or a binary record is invalid. The message gives what was expected and what was found.
class FormatError : public std::runtime_error {
public:
    FormatError(std::uint64_t line, const std::string& message)
        : std::runtime_error(message), line_(line) {}

    /// Number of the line in the file, from 1; of a binary block, that of its last text line.
    std::uint64_t line() const { return line_; }

private:
    std::uint64_t line_;
};

/// The file ends where more was expected.
class EndOfFile : public FormatError {
public:
    EndOfFile(std::uint64_t line, const std::string& expected, bool isInsideRecord)
        : FormatError(line, "expected " + expected + ", found the end of the file"),
          isInsideRecord_(isInsideRecord) {}

    /// The last line has no end, or the last binary record is not complete.
    bool isInsideRecord() const { return isInsideRecord_; }

private:
    bool isInsideRecord_;
};

/// The file is not finished, and it holds nothing complete or may not be salvaged.
class UnfinishedFile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Frd
