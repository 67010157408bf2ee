/// @file
/// Completes the findings of the checks with the names of their places.
#pragma once

#include "meklint/finding.hpp"
#include "mekreader/model.hpp"

#include <string>

namespace MekLint {

class Reporter {
public:
    /// @param file, report must outlive the object
    Reporter(const MekReader::File& file, const Report& report) : file_(file), report_(report) {}

    /// A finding on the file, a node, or a variable of a node.
    void add(const std::string& message) const;
    void add(const MekReader::Node& node, const std::string& message) const;
    void add(const MekReader::Node& node, const MekReader::Variable& variable,
             const std::string& message) const;

private:
    std::string placeOf(const MekReader::Node& node) const;

    const MekReader::File& file_;
    const Report& report_;
};

} // namespace MekLint
