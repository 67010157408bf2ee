/// @file
/// What the reader raises.
#pragma once

#include <stdexcept>
#include <string>

namespace MekReader {

/// A file breaks a rule of the format; the message names the place and the rule.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Writing of the file was not brought to its end, so that it has no complete index.
class Unfinished : public Error {
public:
    explicit Unfinished(const std::string& reason) : Error("file is unfinished: " + reason) {}
};

} // namespace MekReader
