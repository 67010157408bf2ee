/// @file
/// What a check finds in a model file.
#pragma once

#include <functional>
#include <string>

namespace MekLint {

/// One finding. A field that does not apply is empty. Names are those of the file, unchanged.
struct Finding {
    std::string node{};     ///< id and path, such as "3 (/assembly/wheel)"
    std::string variable{}; ///< name of the quantity
    std::string step{};
    std::string message{}; ///< the finding, with numbers
};

using Report = std::function<void(const Finding&)>;

/// The finding on one line: `node 3 (/a/b), variable "T", step "1": message`. Control characters of
/// names become hexadecimal numbers.
std::string toLine(const Finding& finding);

} // namespace MekLint
