/// @file
/// Errors in the content of a result file.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Frd {

/// A line is invalid. The message gives what was expected and what was found.
class FormatError : public std::runtime_error {
public:
    FormatError(std::uint64_t line, const std::string& message)
        : std::runtime_error(message), line_(line) {}

    /// Number of the line in the file, from 1.
    std::uint64_t line() const { return line_; }

private:
    std::uint64_t line_;
};

} // namespace Frd
