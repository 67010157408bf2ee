/// @file
/// The files of one export.
#pragma once

#include "console/unfinishedfiles.hpp"
#include "mekvtu/outputfile.hpp"

#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>

namespace MekVtu {

/// Files that replace those of an earlier export together: each has a temporary name until
/// `finish`. The destructor removes unfinished files, and then the folders that were created if
/// they are empty. Signals do the same.
class OutputFolder {
public:
    /// @param path of a folder that need not exist
    explicit OutputFolder(std::filesystem::path path) : path_(std::move(path)) {}
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;
    ~OutputFolder();

    std::filesystem::path pathOf(const std::string& name) const {
        return path_ / std::filesystem::u8path(name);
    }

    /// Creates a file, and the folder if it does not exist. Closes the file after `write`.
    /// @throws Console::FileError
    void add(const std::string& name, const std::function<void(OutputFile&)>& write);

    /// Gives all files their names, in the order in which they were added. The last file lists the
    /// others: an earlier one is removed first, so that it never lists files of two exports.
    /// Signals wait meanwhile.
    /// @throws Console::FileError also with the number of files that have got their names
    void finish();

private:
    void createFolder(const std::filesystem::path& path);
    std::string progressOfFinish(std::size_t finished) const;

    std::filesystem::path path_;
    std::deque<Console::UnfinishedFile> created_; ///< the outermost first
    std::deque<OutputFile> files_;
    std::filesystem::path last_;
};

} // namespace MekVtu
