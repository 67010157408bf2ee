/// @file
/// Errors of the reader.
///
/// @code
/// #include <mekreader/error.hpp>
/// #include <mekreader/model.hpp>
///
/// #include <iostream>
///
/// int main(int argc, char** argv) {
///     for (int i = 1; i < argc; ++i) {
///         try {
///             MekReader::check(argv[i]);
///         } catch (const MekReader::Unfinished& error) {
///             std::cerr << argv[i] << ": " << error.what() << "; try mekrecover\n";
///         } catch (const MekReader::Error& error) {
///             std::cerr << argv[i] << ": " << error.what() << '\n';
///         }
///     }
/// }
/// @endcode
#pragma once

#include <stdexcept>
#include <string>

namespace MekReader {

/// A file cannot be read or violates the format. The message gives the reason, with the location
/// and the rule.
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The file was not closed by its writer and has no complete index.
class Unfinished : public Error {
public:
    /// @param reason what the file lacks
    explicit Unfinished(const std::string& reason) : Error("file is unfinished: " + reason) {}
};

} // namespace MekReader
