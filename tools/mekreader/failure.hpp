/// @file
/// What the reader raises.
#pragma once

#include <stdexcept>
#include <string>

namespace MekReader {

/// A file breaks a rule of the format; the message names the place and the rule.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Writing of the file was not brought to its end, so that it has no complete index.
class Unfinished : public Failure {
public:
    explicit Unfinished(const std::string& reason) : Failure("file is unfinished: " + reason) {}
};

} // namespace MekReader
