/// @file
/// A temporary folder for the files of one input.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace Fuzz {

/// Created with the object and removed with it.
class Folder {
public:
    Folder() { std::filesystem::create_directories(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    std::string path(const char* name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("fuzz-" + std::to_string(std::random_device()()));
};

} // namespace Fuzz
