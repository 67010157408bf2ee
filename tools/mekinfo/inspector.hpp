/// @file
/// What mekinfo does with each file of its command line.
#pragma once

#include "mekinfo/commandline.hpp"
#include "mekreader/model.hpp"
#include "mekvtu/export.hpp"

#include <functional>
#include <ostream>
#include <string>

namespace MekInfo {

/// Shows, checks or exports files. Results are printed on standard output, and an array on request
/// in a file.
class Inspector {
public:
    /// @param commandLine must outlive the object
    /// @param report writes one line to standard error
    Inspector(const CommandLine& commandLine, std::function<void(const std::string&)> report);

    /// Inspects all files, also after an error in one of them.
    /// @return whether all files are valid and without findings
    /// @throws Console::UsageError two exports would write the same files, an array is selected and
    ///     there are several files, or its bytes would go to a terminal
    bool inspectAll();

private:
    bool inspect(const std::string& name);
    bool checkAndLint(const std::string& name);
    bool check(const std::string& name);
    bool lint(const std::string& name);
    void show(const std::string& name);
    void show(std::ostream& out, MekReader::File& file, const std::string& name) const;
    void writeArray(const std::string& name);
    void writeArrayFile(MekReader::File& file, const MekReader::Variable& variable) const;
    void exportVtu(const std::string& name);
    MekVtu::ExportSummary exportedFrom(MekReader::File& file, const std::string& name) const;
    void requireDifferentStems() const;
    void requireOneArray() const;

    const CommandLine& commandLine_;
    std::function<void(const std::string&)> report_;
};

} // namespace MekInfo
