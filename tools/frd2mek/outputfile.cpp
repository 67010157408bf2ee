#include "outputfile.hpp"

#include <stdexcept>
#include <system_error>

namespace Frd {

namespace {

/// The file that the path leads to: symbolic links are followed.
std::filesystem::path targetOf(const std::filesystem::path& path) {
    return std::filesystem::exists(path) ? std::filesystem::canonical(path) : path;
}

} // namespace

OutputFile::OutputFile(const std::filesystem::path& path, const std::filesystem::path& input,
                       bool overwrite)
    : path_(targetOf(path)), unfinishedPath_(path_) {
    unfinishedPath_ += ".part";
    if (!std::filesystem::exists(path_)) {
        return;
    }
    if (!std::filesystem::is_regular_file(path_)) {
        throw std::runtime_error(path.u8string() + ": is not a regular file");
    }
    if (std::filesystem::equivalent(path_, input)) {
        throw std::runtime_error(path.u8string() + ": is the input itself");
    }
    if (!overwrite) {
        throw std::runtime_error(path.u8string() + ": exists; use --overwrite to replace it");
    }
}

OutputFile::~OutputFile() {
    if (!isFinished_) {
        std::error_code ignored;
        std::filesystem::remove(unfinishedPath_, ignored);
    }
}

void OutputFile::finish() {
    std::filesystem::rename(unfinishedPath_, path_);
    isFinished_ = true;
}

} // namespace Frd
