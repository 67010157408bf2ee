/// @file
/// A folder for files that a target writes.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace Fuzz {

/// It goes with the object.
class Folder {
public:
    Folder()
        : path_(std::filesystem::temp_directory_path() /
                ("fuzz-" + std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(path_);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

} // namespace Fuzz
